// A directory of scratch files for one test, made below the working directory and removed
// with everything in it when the test ends.
#pragma once
#include <string>
#include <vector>

class ScratchDir {
public:
    explicit ScratchDir(const std::string &name);
    ~ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;

    // The absolute path of a file in the directory.
    std::string path(const std::string &file) const;
    // Writes bytes to a file in the directory and gives its absolute path.
    std::string write(const std::string &file, const std::vector<unsigned char> &bytes) const;

private:
    std::string root;
};
