// Files with a stream: construction settles the path only, OpenFile opens, the destructor closes.
// Binary data moves in the processor's byte order, which every file format of the library assumes.
#pragma once
#include "mFile/mFSobject.h"

#include <cstdio>
#include <vector>

class VELNOR_API mFile : public mFSobject {
public:
    enum access { readAccess = 1, writeAccess = 2, readWriteAccess = 3 };
    enum mOutputFlags { createFile = 0, appendFile = 1, newFileOnly = 2 };
    enum mSeekPos { seekStart = 0, seekCurrent = 1, seekEnd = 2 };

    mFile();
    mFile(const mString &path);
    mFile(mFSobject &base, const mString &path);
    // The copy names the same file and is closed, whatever the original is.
    mFile(const mFile &f);
    // Takes the other's path; a stream this object held is closed, none is shared.
    mFile &operator=(const mFile &f);
    ~mFile();

    bool isFile() const override { return true; }
    bool isDir() const override { return false; }
    bool isRoot() const override { return false; }

    bool isOpen() const { return stream != nullptr; }
    bool close();
    long getCurrentPosition() const;
    bool seekFrom(long offset, mSeekPos from) const;
    bool remove();
    bool rename(const mString &newName);

protected:
    bool open(access a, bool binary, mOutputFlags flags);
    // A block from mApp::malloc in the platform's filter form; the caller frees it.
    void *transFilters(std::vector<mString> *filters);
    // Runs the platform's open or save dialog and gives the chosen full path.
    mString askUser(bool save, mFSdir *dir, std::vector<mString> *filters, const mString *title,
                    const mString *name, unsigned long flags);

    std::FILE *stream;
};

// The input, output and read-write constructors settle the path in their bodies, so that a class
// derived from them gets it without constructing the shared mFile base itself.
class VELNOR_API mInputFile : public virtual mFile {
public:
    // A relative path is looked for along the application's file search path.
    mInputFile(const mString &path);
    mInputFile(mFSobject &base, const mString &path);
    mInputFile(mFile &f);
    mInputFile(const mInputFile &f);
    mInputFile &operator=(const mInputFile &f) {
        mFile::operator=(f);
        return *this;
    }
    // Asks the user for an existing file; throws "No File selected" when none is chosen.
    mInputFile(mFSdir *dir, std::vector<mString> *filters, const mString *title, const mString *name);

    bool OpenFile(bool binary);
    int readBytes(void *to, int count) const;
    int readWords(unsigned short *to, int count) const;
    int readLongs(unsigned long *to, int count) const;
    mString readLine();
    bool atEOF();
    unsigned long getFileSize();

protected:
    mInputFile() {}
};

class VELNOR_API mOutputFile : public virtual mFile {
public:
    // A relative path lies in the application directory; nothing is searched.
    mOutputFile(const mString &path);
    mOutputFile(mFSobject &base, const mString &path);
    mOutputFile(const mOutputFile &f);
    mOutputFile &operator=(const mOutputFile &f) {
        mFile::operator=(f);
        return *this;
    }
    // Asks the user for a file to write; throws "No File selected" when none is chosen.
    mOutputFile(mFSdir *dir, bool askOverwrite, std::vector<mString> *filters, const mString *title,
                const mString *name);

    bool OpenFile(bool binary, mFile::mOutputFlags flags);
    int writeBytes(const void *from, int count) const;
    int writeWords(const unsigned short *from, int count) const;
    int writeLongs(const unsigned long *from, int count) const;
    bool writeLine(const mString &line) const;

protected:
    mOutputFile() {}
};

class VELNOR_API mIOFile : public virtual mInputFile, public virtual mOutputFile {
public:
    mIOFile(const mString &path);
    mIOFile(mFSobject &base, const mString &path);
    mIOFile(const mIOFile &f);
    mIOFile &operator=(const mIOFile &f) {
        mFile::operator=(f);
        return *this;
    }

    // Opens for reading and writing and empties the file.
    bool OpenFile(bool binary);
};
