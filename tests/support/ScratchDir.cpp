#include "ScratchDir.h"

#include <windows.h>

#include <cstdio>

namespace {

void removeTree(const std::string &dir) {
    WIN32_FIND_DATAA found;
    HANDLE walk = FindFirstFileA((dir + "\\*").c_str(), &found);
    if (walk != INVALID_HANDLE_VALUE) {
        do {
            std::string name = found.cFileName;
            if (name == "." || name == "..")
                continue;
            std::string full = dir + "\\" + name;
            if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                removeTree(full);
            else
                DeleteFileA(full.c_str());
        } while (FindNextFileA(walk, &found));
        FindClose(walk);
    }
    RemoveDirectoryA(dir.c_str());
}

} // namespace

ScratchDir::ScratchDir(const std::string &name) {
    char cwd[MAX_PATH];
    GetCurrentDirectoryA(sizeof cwd, cwd);
    root = std::string(cwd) + "\\scratch-" + name + "-" + std::to_string(GetCurrentProcessId());
    removeTree(root);
    CreateDirectoryA(root.c_str(), nullptr);
}

ScratchDir::~ScratchDir() { removeTree(root); }

std::string ScratchDir::path(const std::string &file) const { return root + "\\" + file; }

std::string ScratchDir::write(const std::string &file, const std::vector<unsigned char> &bytes) const {
    std::string full = path(file);
    std::FILE *out = std::fopen(full.c_str(), "wb");
    if (out) {
        if (!bytes.empty())
            std::fwrite(bytes.data(), 1, bytes.size(), out);
        std::fclose(out);
    }
    return full;
}
