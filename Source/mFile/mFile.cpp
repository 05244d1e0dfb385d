#include "mFile/mFile.h"
#include "mUtil/mApp.h"
#include "mWindow/mWindow.h"
#include "mWindow/mFrame.h"

#include <cstring>
#include <share.h>
#include <windows.h>
#include <commdlg.h>

static const char srcPath[] = "mFile/mFile";

// ---- mFile

mFile::mFile() : stream(nullptr) {}

mFile::mFile(const mString &text) : mFSobject(text), stream(nullptr) {}

mFile::mFile(mFSobject &base, const mString &text) : mFSobject(base, text), stream(nullptr) {}

mFile::mFile(const mFile &f) : mFSobject(f), stream(nullptr) {}

mFile &mFile::operator=(const mFile &f) {
    if (&f != this) {
        close();
        mFSobject::operator=(f);
    }
    return *this;
}

mFile::~mFile() { close(); }

bool mFile::close() {
    if (!stream)
        return false;
    int rc = std::fclose(stream);
    stream = nullptr;
    return rc == 0;
}

long mFile::getCurrentPosition() const {
    if (!stream)
        VELNOR_THROW("Access unopened file!", 0);
    return std::ftell(stream);
}

bool mFile::seekFrom(long offset, mSeekPos from) const {
    if (!stream)
        VELNOR_THROW("Access unopened file!", 0);
    int origin;
    switch (from) {
    case seekStart:
        origin = SEEK_SET;
        break;
    case seekCurrent:
        origin = SEEK_CUR;
        break;
    case seekEnd:
        origin = SEEK_END;
        break;
    default:
        VELNOR_THROW("Bad seek position argument", from);
    }
    return std::fseek(stream, offset, origin) == 0;
}

bool mFile::remove() {
    if (stream)
        return false;
    return std::remove(getFullPath().c_str()) == 0;
}

// Volume and directory compare as the file system does, without regard to case.
static bool sameText(const mString &a, const mString &b) {
    mString upperA = a;
    mString upperB = b;
    return upperA.toUpper() == upperB.toUpper();
}

bool mFile::rename(const mString &newName) {
    if (stream)
        return false;
    mFile target(*this, newName);
    if (!sameText(target.volume, volume) || !sameText(target.path, path) || target.exists())
        return false;
    if (std::rename(getFullPath().c_str(), target.getFullPath().c_str()) != 0)
        return false;
    mFSobject::operator=(target);
    return true;
}

bool mFile::open(access a, bool binary, mOutputFlags flags) {
    if (stream)
        VELNOR_THROW("Attempt to open a file twice!", 0);
    mString mode;
    switch (a) {
    case readAccess:
        mode = "r";
        break;
    case writeAccess:
    case readWriteAccess:
        if (flags == newFileOnly && exists())
            return false;
        mode = flags == appendFile ? "a" : "w";
        if (a == readWriteAccess)
            mode += '+';
        break;
    default:
        VELNOR_THROW("Invalid file open type.", a);
    }
    mode += binary ? 'b' : 't';
    stream = _fsopen(getFullPath().c_str(), mode.c_str(), _SH_DENYNO);
    return stream != nullptr;
}

void *mFile::transFilters(std::vector<mString> *filters) {
    static const char allFiles[16] = "All Files\0*.*\0\0";
    if (!filters || filters->empty()) {
        void *block = mApp::malloc(sizeof allFiles);
        std::memcpy(block, allFiles, sizeof allFiles);
        return block;
    }
    int total = 0;
    for (const mString &entry : *filters)
        total += entry.length() + 2;
    // Zeroed, so that the list ends in NULs however many entries are left out.
    char *block = static_cast<char *>(mApp::malloc(total + 1));
    std::memset(block, 0, total + 1);
    char *out = block;
    for (const mString &entry : *filters) {
        int bar = entry.find('|', 0);
        if (bar < 0)
            continue;
        std::memcpy(out, entry.c_str(), bar);
        out += bar + 1;
        int patternLength = entry.length() - bar - 1;
        std::memcpy(out, entry.c_str() + bar + 1, patternLength);
        out += patternLength + 1;
    }
    *out = '\0';
    return block;
}

// The directory a file dialog starts in; null leaves the choice to the platform.
static mString dialogStartDirectory(mFSdir *dir) {
    if (dir)
        return dir->getFullPath();
    mApp *app = mApp::getCurrentApp();
    if (!app || app->getFileSearchPath().empty())
        return mString();
    return app->getAppDirectory().getFullPath();
}

static HWND dialogOwner() {
    mApp *app = mApp::getCurrentApp();
    mMainFrame *frame = app ? app->getMainWindow() : nullptr;
    return frame ? reinterpret_cast<HWND>(frame->getPeer()) : nullptr;
}

mString mFile::askUser(bool save, mFSdir *dir, std::vector<mString> *filters, const mString *title,
                       const mString *name, unsigned long flags) {
    char chosen[MAX_PATH] = "";
    if (name)
        std::strncpy(chosen, name->c_str(), sizeof chosen - 1);
    mString start = dialogStartDirectory(dir);
    void *filterList = transFilters(filters);

    OPENFILENAMEA ofn;
    std::memset(&ofn, 0, sizeof ofn);
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = dialogOwner();
    ofn.lpstrFilter = static_cast<const char *>(filterList);
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = chosen;
    ofn.nMaxFile = sizeof chosen;
    ofn.lpstrInitialDir = start.empty() ? nullptr : start.c_str();
    ofn.lpstrTitle = title ? title->c_str() : nullptr;
    ofn.Flags = flags;
    BOOL ok = save ? GetSaveFileNameA(&ofn) : GetOpenFileNameA(&ofn);
    DWORD error = ok ? 0 : CommDlgExtendedError();
    mApp::free(filterList);
    // Idle work and window handlers ran inside the dialog's loop; what they threw comes out here.
    mApp::rethrowParked();
    if (!ok)
        VELNOR_THROW("No File selected", error);
    return mString(chosen);
}

// ---- mInputFile

mInputFile::mInputFile(const mString &text) { parseAlongSearchPath(text, true); }

mInputFile::mInputFile(mFSobject &base, const mString &text) { parseOn(base, text); }

mInputFile::mInputFile(mFile &f) { mFSobject::operator=(f); }

mInputFile::mInputFile(const mInputFile &f) : mFile(f) {}

mInputFile::mInputFile(mFSdir *dir, std::vector<mString> *filters, const mString *title, const mString *name) {
    parse(nullptr, askUser(false, dir, filters, title, name,
                           OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR));
}

bool mInputFile::OpenFile(bool binary) {
    if (stream)
        VELNOR_THROW("Attempt to open an opened file!", 0);
    return open(readAccess, binary, createFile);
}

// Whole items only; a short count at the end of the file is no failure.
static int readItems(std::FILE *stream, void *to, int size, int count) {
    if (count <= 0)
        return 0;
    return (int)std::fread(to, size, count, stream);
}

int mInputFile::readBytes(void *to, int count) const {
    if (!stream)
        VELNOR_THROW("Attempt to access closed file", 0);
    return readItems(stream, to, 1, count);
}

int mInputFile::readWords(unsigned short *to, int count) const {
    if (!stream)
        VELNOR_THROW("Attempt to access closed file", 0);
    return readItems(stream, to, 2, count);
}

int mInputFile::readLongs(unsigned long *to, int count) const {
    if (!stream)
        VELNOR_THROW("Attempt to access closed file", 0);
    return readItems(stream, to, 4, count);
}

mString mInputFile::readLine() {
    if (!stream)
        VELNOR_THROW("Attempt to access closed file", 0);
    char line[1024];
    if (!std::fgets(line, sizeof line, stream))
        return mString();
    int length = (int)std::strlen(line);
    if (length > 0 && line[length - 1] == '\n')
        line[--length] = '\0';
    return mString(line);
}

bool mInputFile::atEOF() { return !stream || std::feof(stream) != 0; }

// Position at the end of an open stream, the current position restored; -1 when a seek fails.
static long endPosition(std::FILE *stream) {
    long here = std::ftell(stream);
    if (here < 0 || std::fseek(stream, 0, SEEK_END) != 0)
        return -1;
    long end = std::ftell(stream);
    if (std::fseek(stream, here, SEEK_SET) != 0)
        return -1;
    return end;
}

unsigned long mInputFile::getFileSize() {
    bool wasOpen = stream != nullptr;
    if (!wasOpen && !open(readAccess, true, createFile))
        return 0;
    long end = endPosition(stream);
    if (!wasOpen)
        close();
    return end < 0 ? 0 : (unsigned long)end;
}

// ---- mOutputFile

mOutputFile::mOutputFile(const mString &text) { parseOnAppDirectory(text); }

mOutputFile::mOutputFile(mFSobject &base, const mString &text) { parseOn(base, text); }

mOutputFile::mOutputFile(const mOutputFile &f) : mFile(f) {}

mOutputFile::mOutputFile(mFSdir *dir, bool askOverwrite, std::vector<mString> *filters, const mString *title,
                         const mString *name) {
    unsigned long flags = OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    if (askOverwrite)
        flags |= OFN_OVERWRITEPROMPT;
    parse(nullptr, askUser(true, dir, filters, title, name, flags));
}

bool mOutputFile::OpenFile(bool binary, mFile::mOutputFlags flags) {
    if (stream)
        VELNOR_THROW("Attempt to open already opened file", 0);
    return open(writeAccess, binary, flags);
}

static int writeItems(std::FILE *stream, const void *from, int size, int count) {
    if (count <= 0)
        return 0;
    return (int)std::fwrite(from, size, count, stream);
}

int mOutputFile::writeBytes(const void *from, int count) const {
    if (!stream)
        VELNOR_THROW("Write to unopened file!", 0);
    return writeItems(stream, from, 1, count);
}

int mOutputFile::writeWords(const unsigned short *from, int count) const {
    if (!stream)
        VELNOR_THROW("Write to unopened file!", 0);
    return writeItems(stream, from, 2, count);
}

int mOutputFile::writeLongs(const unsigned long *from, int count) const {
    if (!stream)
        VELNOR_THROW("Write to unopened file!", 0);
    return writeItems(stream, from, 4, count);
}

bool mOutputFile::writeLine(const mString &line) const {
    if (!stream)
        VELNOR_THROW("Attempt to write to closed file!", 0);
    size_t length = std::strlen(line.c_str());
    bool written = std::fwrite(line.c_str(), 1, length, stream) == length;
    return std::fputc('\n', stream) != EOF && written;
}

// ---- mIOFile

mIOFile::mIOFile(const mString &text) { parseOnAppDirectory(text); }

mIOFile::mIOFile(mFSobject &base, const mString &text) { parseOn(base, text); }

mIOFile::mIOFile(const mIOFile &f) : mFile(f), mInputFile(), mOutputFile() {}

bool mIOFile::OpenFile(bool binary) {
    if (stream)
        VELNOR_THROW("Attempt to open already opened file", 0);
    return open(readWriteAccess, binary, createFile);
}
