// velnor-assets: packs a title's images and sounds into object files, lists them, and takes
// them apart again. Run it as tools/velnor-assets, which takes host paths.
#include "AssetCommands.h"
#include "AssetFiles.h"

#include <Velnor11.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char usage[] =
    "usage: velnor-assets COMMAND [OPTIONS] ARGS...\n"
    "\n"
    "Commands:\n"
    "  pack OUT.obj FILE...   pack BMP images and WAV sounds into an object file\n"
    "  list FILE.obj          list the objects of an object file\n"
    "  extract FILE.obj DIR   write every object back as a BMP, WAV or DAT file\n"
    "  frames FILE.asa DIR    write every frame of an animation file as a BMP file\n"
    "\n"
    "'velnor-assets COMMAND --help' tells more of each command.\n";

struct Command {
    const char *name;
    int minArgs, maxArgs;
    const char *help;
};

const Command commands[] = {
    {"pack", 2, -1,
     "usage: velnor-assets pack [--audio-delta] OUT.obj FILE...\n"
     "\n"
     "Packs the files, in the order given, into the object file OUT.obj, one object each:\n"
     "BMP images of 8 bits (plain or run-length) or 15 bits (16-bit BMP, 5-5-5) through the\n"
     "object store with LZSS, and WAV sounds (PCM, 11025, 22050 or 44100 Hz, 8 or 16 bits) as\n"
     "sound objects. Objects are named after their files (12 characters are kept). Colours of\n"
     "8-bit images are kept as 15-bit colours; run-length images go in without colours.\n"
     "The file written is read back before it replaces OUT.obj.\n"
     "\n"
     "  --audio-delta   store 8-bit mono sounds in the lossy audio delta form, and print the\n"
     "                  error it reached (rms and largest, in sample steps of 0 to 255)\n"},
    {"list", 1, 1,
     "usage: velnor-assets list FILE.obj\n"
     "\n"
     "Prints a line for each object: index, id, type, name, stored and unpacked sizes in\n"
     "bytes, and compression.\n"},
    {"extract", 2, 2,
     "usage: velnor-assets extract FILE.obj DIR\n"
     "\n"
     "Writes every object into DIR (made if missing) as NNN-name.bmp for images, NNN-name.wav\n"
     "for sounds and NNN-name.dat for raw data. Images without colours get a grey ramp.\n"},
    {"frames", 2, 2,
     "usage: velnor-assets frames FILE.asa DIR\n"
     "\n"
     "Writes every ordinary frame of the animation file into DIR (made if missing) as\n"
     "frameNNN.bmp, 16 bits a pixel: the background in force, then the images of the frame's\n"
     "slots at their places, in the file's palette. Command frames are passed over.\n"},
};

const Command *find(const std::string &name) {
    for (const Command &c : commands)
        if (name == c.name)
            return &c;
    return nullptr;
}

int usageError(const char *message, const char *help) {
    std::fprintf(stderr, "velnor-assets: %s\n%s", message, help);
    return 2;
}

int run(const Command &command, const std::vector<std::string> &args, const assets::PackOptions &options) {
    const std::string name = command.name;
    if (name == "pack")
        assets::pack(args[0], std::vector<std::string>(args.begin() + 1, args.end()), options);
    else if (name == "list")
        assets::list(args[0]);
    else if (name == "extract")
        assets::extract(args[0], args[1]);
    else
        assets::frames(args[0], args[1]);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2)
        return usageError("no command given", usage);
    const std::string first = argv[1];
    if (first == "--help" || first == "-h") {
        std::fputs(usage, stdout);
        return 0;
    }
    const Command *command = find(first);
    if (!command)
        return usageError(("unknown command '" + first + "'").c_str(), usage);

    assets::PackOptions options;
    std::vector<std::string> args;
    for (int i = 2; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::fputs(command->help, stdout);
            return 0;
        }
        if (a == "--audio-delta" && first == "pack")
            options.audioDelta = true;
        else if (a.size() > 1 && a[0] == '-')
            return usageError(("unknown option '" + a + "'").c_str(), command->help);
        else
            args.push_back(a);
    }
    if ((int)args.size() < command->minArgs || (command->maxArgs >= 0 && (int)args.size() > command->maxArgs))
        return usageError("wrong number of arguments", command->help);
    try {
        return run(*command, args, options);
    } catch (const std::exception &e) {
        std::fflush(stdout);
        std::fprintf(stderr, "velnor-assets: %s\n", e.what());
        return 1;
    }
}
