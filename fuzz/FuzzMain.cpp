// The fuzzing harness: feeds mutated inputs to every reader of the library. Each input lies at
// the end of readable memory and targets are fenced, so that a step past either faults; a fault,
// an exception other than mError, a hang or a large allocation is a finding, whose input is kept
// in the findings directory, and the run goes on.
#include "Readers.h"

#include "Fenced.h"
#include <Velnor11.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <windows.h>
#include <psapi.h>

namespace {

using namespace fuzz;

const size_t PAGE = 4096;
// Growth of the process's peak commit, over the peak before it, that one input may cause.
const SIZE_T ALLOCATION_LIMIT = 256u << 20;

struct Options {
    unsigned long inputs = 10000;
    unsigned long long seed = 1;
    unsigned long timeLimit = 5000;
    // Each reader stops early when this many seconds are spent on it; 0 for no limit.
    double budget = 0;
    std::vector<std::string> readers;
    std::string findings = "fuzz-findings";
    // Where the readers of files find their input; a memory-backed directory is fastest.
    std::string scratch;
    std::string regressions;
};

enum Outcome { SUCCESS, ERROR_THROWN, FOREIGN_EXCEPTION, OUT_OF_MEMORY, FAULT, LARGE_ALLOCATION };
const char *const outcomeNames[] = {"ok", "error", "exception", "no-memory", "fault", "allocation"};

// The input region: the input is copied so that it ends where the inaccessible page begins.
class InputFence {
public:
    InputFence() {
        base = static_cast<unsigned char *>(
            VirtualAlloc(nullptr, INPUT_LIMIT + PAGE, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old;
        VirtualProtect(base + INPUT_LIMIT, PAGE, PAGE_NOACCESS, &old);
    }
    const unsigned char *place(const Bytes &input) {
        unsigned char *at = base + INPUT_LIMIT - input.size();
        if (!input.empty())
            std::memcpy(at, input.data(), input.size());
        return at;
    }

private:
    unsigned char *base;
};

struct Job {
    const Reader *reader;
    const unsigned char *input;
    size_t size;
    std::string scratch;
    std::string message;
};

int runJob(void *context) {
    Job &job = *static_cast<Job *>(context);
    try {
        job.reader->feed(job.input, job.size, job.scratch);
        return SUCCESS;
    } catch (const mError &e) {
        job.message = e.message.c_str();
        return ERROR_THROWN;
    } catch (const std::bad_alloc &) {
        job.message = "out of memory";
        return OUT_OF_MEMORY;
    } catch (const std::exception &e) {
        job.message = e.what();
        return FOREIGN_EXCEPTION;
    } catch (...) {
        job.message = "unknown exception";
        return FOREIGN_EXCEPTION;
    }
}

// The input under way, for the watchdog.
struct Watch {
    volatile LONG busy = 0;
    volatile ULONGLONG started = 0;
    const Bytes *input = nullptr;
    std::string reader;
    unsigned long index = 0;
    unsigned long limit = 0;
    std::string findings;
};
Watch watch;

void keep(const std::string &dir, const std::string &reader, const char *kind, unsigned long index, const Bytes &input) {
    CreateDirectoryA(dir.c_str(), nullptr);
    char name[64];
    std::snprintf(name, sizeof name, "-%s-%lu.bin", kind, index);
    const std::string path = dir + "\\" + reader + name;
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f) {
        std::fwrite(input.data(), 1, input.size(), f);
        std::fclose(f);
    }
    std::printf("FINDING %s input %lu: %s, kept as %s\n", reader.c_str(), index, kind, path.c_str());
    std::fflush(stdout);
}

// An input that outlives its time cannot be stopped safely: it is kept, and the run ends.
DWORD WINAPI watchdog(void *) {
    for (;;) {
        Sleep(100);
        if (watch.busy && GetTickCount64() - watch.started > watch.limit) {
            keep(watch.findings, watch.reader, "hang", watch.index, *watch.input);
            std::printf("input %lu of %s ran past %lu ms; the run ends\n", watch.index, watch.reader.c_str(), watch.limit);
            std::fflush(stdout);
            ExitProcess(3);
        }
    }
}

SIZE_T peakCommit() {
    PROCESS_MEMORY_COUNTERS counters;
    counters.cb = sizeof counters;
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.PeakPagefileUsage : 0;
}

struct Figures {
    unsigned long counts[6] = {0, 0, 0, 0, 0, 0};
    std::map<std::string, unsigned long> messages;
    double seconds = 0;
    unsigned long total = 0;
};

std::string fullPath(const std::string &path) {
    char full[MAX_PATH];
    DWORD n = GetFullPathNameA(path.c_str(), sizeof full, full, nullptr);
    return n && n < sizeof full ? full : path;
}

std::string replaceAll(std::string text, const std::string &what, const std::string &with) {
    for (size_t at; !what.empty() && (at = text.find(what)) != std::string::npos;)
        text.replace(at, what.size(), with);
    return text;
}

class Harness {
public:
    explicit Harness(const Options &options) : options(options) {}

    // One input: the outcome, with a finding kept.
    void feed(const Reader &reader, const Bytes &input, unsigned long index, Figures &figures) {
        Job job{&reader, fence.place(input), input.size(), scratchOf(reader), std::string()};
        watch.input = &input;
        watch.index = index;
        watch.started = GetTickCount64();
        watch.busy = 1;
        int result = SUCCESS;
        mFaultInfo fault;
        bool clean = mFaultGuard::run(runJob, &job, result, fault);
        watch.busy = 0;
        const SIZE_T peak = peakCommit();
        if (!clean) {
            result = FAULT;
            job.message = mFaultGuard::describe(fault).c_str();
        } else if (peak > peakSeen + ALLOCATION_LIMIT && peakSeen) {
            result = LARGE_ALLOCATION;
        }
        peakSeen = peak > peakSeen ? peak : peakSeen;
        ++figures.counts[result];
        ++figures.total;
        if (result == ERROR_THROWN)
            ++figures.messages[replaceAll(job.message, fullScratch, "<file>")];
        else if (result != SUCCESS) {
            ++figures.messages[std::string(outcomeNames[result]) + ": " + job.message];
            keep(options.findings, reader.name, outcomeNames[result], index, input);
        }
    }

    Figures run(const Reader &reader) {
        Figures figures;
        watch.reader = reader.name;
        const std::vector<Seed> seeds = reader.seeds(scratchOf(reader));
        fullScratch = fullPath(scratchOf(reader));
        const auto start = std::chrono::steady_clock::now();
        for (const Bytes &kept : regressionInputs(reader))
            feed(reader, kept, figures.total, figures);
        for (const Seed &seed : seeds)
            feed(reader, seed.bytes, figures.total, figures);
        Random random(options.seed * 0x100000001B3ull ^ std::hash<std::string>()(reader.name));
        for (unsigned long i = 0; i < options.inputs; ++i) {
            feed(reader, mutate(seeds, random, INPUT_LIMIT), figures.total, figures);
            if ((i + 1) % 1000 != 0)
                continue;
            figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            if ((i + 1) % 50000 == 0) {
                std::fprintf(stderr, "%s: %lu inputs\n", reader.name, i + 1);
                std::fflush(stderr);
            }
            if (options.budget > 0 && figures.seconds > options.budget)
                break;
        }
        figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        DeleteFileA(scratchOf(reader).c_str());
        return figures;
    }

private:
    std::string scratchOf(const Reader &reader) const {
        return (options.scratch.empty() ? options.findings : options.scratch) + "\\velnor-fuzz-" + reader.name + ".bin";
    }

    // Every file in the reader's folder of kept inputs.
    std::vector<Bytes> regressionInputs(const Reader &reader) const {
        std::vector<Bytes> inputs;
        if (options.regressions.empty())
            return inputs;
        const std::string dir = options.regressions + "\\" + reader.name;
        WIN32_FIND_DATAA found;
        HANDLE search = FindFirstFileA((dir + "\\*.bin").c_str(), &found);
        if (search == INVALID_HANDLE_VALUE)
            return inputs;
        do {
            inputs.push_back(readFile(dir + "\\" + found.cFileName));
        } while (FindNextFileA(search, &found));
        FindClose(search);
        return inputs;
    }

    const Options &options;
    InputFence fence;
    SIZE_T peakSeen = 0;
    std::string fullScratch;
};

void report(const Reader &reader, const Figures &f) {
    std::printf("%-9s %9lu inputs %9lu ok %9lu errors %4lu faults %4lu exceptions %4lu no-memory %4lu allocations"
                " %8.1f s %9.0f inputs/s\n",
                reader.name, f.total, f.counts[SUCCESS], f.counts[ERROR_THROWN], f.counts[FAULT],
                f.counts[FOREIGN_EXCEPTION], f.counts[OUT_OF_MEMORY], f.counts[LARGE_ALLOCATION], f.seconds,
                f.seconds > 0 ? f.total / f.seconds : 0.0);
    for (const auto &m : f.messages)
        std::printf("    %9lu  %s\n", m.second, m.first.c_str());
    std::fflush(stdout);
}

const char usage[] =
    "usage: velnor-fuzz [--inputs N] [--readers NAME,...] [--seed S] [--time-limit MS]\n"
    "                   [--max-seconds S] [--findings DIR] [--regressions DIR] [--scratch DIR]\n"
    "Feeds N mutated inputs (default 10000) to each reader named (default all) after the kept\n"
    "inputs of DIR/<reader>/*.bin. Findings are kept in DIR (default fuzz-findings); readers of\n"
    "files read theirs from the scratch DIR (default the findings DIR). An input may take\n"
    "--time-limit ms (default 5000); each reader stops after --max-seconds if given.\n"
    "Readers:";

bool parse(int argc, char **argv, Options &options) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const char *value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (!value)
            return false;
        if (a == "--inputs")
            options.inputs = std::strtoul(value, nullptr, 10);
        else if (a == "--seed")
            options.seed = std::strtoull(value, nullptr, 10);
        else if (a == "--time-limit")
            options.timeLimit = std::strtoul(value, nullptr, 10);
        else if (a == "--findings")
            options.findings = value;
        else if (a == "--max-seconds")
            options.budget = std::strtod(value, nullptr);
        else if (a == "--scratch")
            options.scratch = value;
        else if (a == "--regressions")
            options.regressions = value;
        else if (a == "--readers") {
            std::string list = value;
            for (size_t start = 0, comma; start <= list.size(); start = comma + 1) {
                comma = list.find(',', start);
                comma = comma == std::string::npos ? list.size() : comma;
                options.readers.push_back(list.substr(start, comma - start));
            }
        } else
            return false;
        ++i;
    }
    return true;
}

} // namespace

int main(int argc, char **argv) {
    Options options;
    const bool help = argc == 2 && std::string(argv[1]) == "--help";
    if (help || !parse(argc, argv, options)) {
        std::printf("%s", usage);
        for (const Reader &r : allReaders())
            std::printf(" %s", r.name);
        std::printf("\n");
        return help ? 0 : 2;
    }
    std::vector<const Reader *> chosen;
    for (const Reader &r : allReaders())
        if (options.readers.empty() || std::find(options.readers.begin(), options.readers.end(), r.name) != options.readers.end())
            chosen.push_back(&r);
    if (chosen.size() != (options.readers.empty() ? allReaders().size() : options.readers.size())) {
        std::printf("velnor-fuzz: unknown reader among %zu named\n", options.readers.size());
        return 2;
    }
    // The library takes a relative path for an output file as relative to the program's folder.
    options.findings = fullPath(options.findings);
    if (!options.scratch.empty())
        options.scratch = fullPath(options.scratch);
    CreateDirectoryA(options.findings.c_str(), nullptr);
    watch.limit = options.timeLimit;
    watch.findings = options.findings;
    CreateThread(nullptr, 0, watchdog, nullptr, 0, nullptr);

    Harness harness(options);
    unsigned long findings = 0;
    for (const Reader *reader : chosen) {
        Figures figures = harness.run(*reader);
        report(*reader, figures);
        findings += figures.counts[FAULT] + figures.counts[FOREIGN_EXCEPTION] + figures.counts[OUT_OF_MEMORY] +
                    figures.counts[LARGE_ALLOCATION];
    }
    std::printf("findings: %lu\n", findings);
    return findings ? 1 : 0;
}
