// Helpers of the file tests: scratch trees on the real disk and an application whose search
// path starts with the test program's directory.
#pragma once
#include "ScratchDir.h"
#include "VelnorTest.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

// A scratch directory named after the running test.
class Scratch : public ScratchDir {
public:
    explicit Scratch(const std::string &suffix = "") : ScratchDir(testName() + suffix) {}
    // The directory itself, without a trailing separator.
    std::string root() const { return path("").substr(0, path("").size() - 1); }
    // Writes the bytes as they are, making the directories on the way; gives the full path.
    std::string file(const std::string &relative, const std::string &bytes) const {
        fs::create_directories(fs::path(path(relative)).parent_path());
        return write(relative, std::vector<unsigned char>(bytes.begin(), bytes.end()));
    }
    std::string dir(const std::string &relative) const {
        fs::create_directories(path(relative));
        return path(relative);
    }

private:
    static std::string testName() {
        const ::testing::TestInfo *test = ::testing::UnitTest::GetInstance()->current_test_info();
        return std::string(test->test_suite_name()) + "-" + test->name();
    }
};

inline std::string readAll(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "<missing>";
}

inline std::string executableDirectory() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return fs::path(path).parent_path().string();
}

inline std::string fullPath(mFSobject &o) { return o.getFullPath().c_str(); }

// A test with an application of its own whose main frame's module is the test program, so that
// the file search path starts with the program's directory.
class FileAppFixture : public vt::AppFixture {
protected:
    FileAppFixture() : vt::AppFixture("VelnorFileTests") {}
    void SetUp() override {
        vt::AppFixture::SetUp();
        frame = new vt::TestFrame(app);
    }
    // The frame's end pops its state before the application goes.
    void TearDown() override {
        DestroyWindow(reinterpret_cast<HWND>(frame->getPeer()));
        vt::drainMessages();
        vt::AppFixture::TearDown();
    }
    vt::TestFrame *frame = nullptr;
};
