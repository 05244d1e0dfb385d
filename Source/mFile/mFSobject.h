// Paths taken apart into volume, directory path and name; construction touches no disk.
#pragma once
#include "mUtil/mString.h"

#include <vector>

class mFSdir;
class mFSdisk;
class mFile;

class VELNOR_API mFSobject {
public:
    mFSobject();
    mFSobject(const mString &path);
    mFSobject(mFSobject &base, const mString &path);
    mFSobject(const mFSobject &f);
    mFSobject &operator=(const mFSobject &f);
    ~mFSobject();

    virtual bool isFile() const = 0;
    virtual bool isDir() const = 0;
    virtual bool isRoot() const = 0;

    const mString &getName() const { return name; }
    const mString &getVolume() const { return volume; }
    const mString &getPath() const { return path; }
    bool isUNC() const { return unc; }
    const mString &getFullPath();
    mFSdir *getParent();
    mFSdisk *getDisk();
    mFSdir *getRootDir();
    bool exists();
    bool wildCardMatch(const mString &pattern) { return wildCardMatch(name, pattern); }

    static bool wildCardMatch(const mString &name, const mString &pattern);
    static mString getPathSep();
    static mString getDriveSep();
    static mString getTextEOL();
    static bool isAbsolutePath(const mString &path);

protected:
    void init();
    void clearCaches();
    void parseNodes(mFSdir *base, const mString &path, std::vector<mString> &nodes);
    void buildUpPath(std::vector<mString> &nodes);
    // Replaces the whole path: parsed by itself when base is null or the text absolute.
    void parse(mFSobject *base, const mString &path);
    // The rule of the one-text constructor: an absolute path alone, else in the application directory.
    void parseOnAppDirectory(const mString &path);
    // The rule of the base-and-text constructor: relative to base, or to its parent for a file.
    void parseOn(mFSobject &base, const mString &path);
    // A relative name is looked for along the file search path; the first directory in which it
    // exists wins, else the first directory. With skipFailures, a directory whose candidate
    // cannot be parsed is passed over.
    void parseAlongSearchPath(const mString &path, bool skipFailures);

    bool unc;
    mString volume;
    mString path;
    mString name;
    mFSdir *parent;
    mFSdisk *disk;
    mString *fullPath;
};

class VELNOR_API mFSdir : public mFSobject {
public:
    mFSdir() {}
    mFSdir(const mString &path);
    mFSdir(const char *path) : mFSdir(mString(path)) {}
    mFSdir(mFSobject &base, const mString &path) : mFSobject(base, path) {}
    mFSdir(const mFSdir &d) : mFSobject(d) {}
    mFSdir(mFile *f);
    mFSdir(mFSdisk *d);
    mFSdir &operator=(const mFSdir &d) {
        mFSobject::operator=(d);
        return *this;
    }

    bool isFile() const override { return false; }
    bool isDir() const override { return true; }
    bool isRoot() const override { return path.empty(); }

    std::vector<mFSobject *> *getContents(const mString *pattern);
    void destroyContentsVector(std::vector<mFSobject *> *v);
    bool createIfNeeded();
    bool removeDir(bool recursive);
};

class VELNOR_API mFSdisk {
public:
    mFSdisk() : root(nullptr) {}
    mFSdisk(const mFSdisk &d) : volume(d.volume), root(nullptr) {}
    mFSdisk &operator=(const mFSdisk &d);
    ~mFSdisk();

    const mString &getVolumeName() const { return volume; }
    bool isUNC() const;
    mFSdir *getRoot();
    bool isCDrom();

    static std::vector<mFSdisk> *getMountedDisks();
    static void destroyDiskVector(std::vector<mFSdisk> *v);

private:
    friend class mFSobject;
    mFSdisk(mString &volume) : volume(volume), root(nullptr) {}
    // The volume's root as text: a drive letter with the drive separator, a UNC name with the path separator.
    mString rootText() const;

    mString volume;
    mFSdir *root;
};
