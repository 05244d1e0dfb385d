#include "mFile/mFSobject.h"
#include "mUtil/mApp.h"

#include <cctype>
#include <sys/stat.h>

static const char srcPath[] = "mFile/mFSobject";

// The caches deleted here were made here as exactly the type they are deleted as.
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"

mFSobject::mFSobject() : unc(false), parent(nullptr), disk(nullptr), fullPath(nullptr) {}

mFSobject::mFSobject(const mString &text) : mFSobject() { parseOnAppDirectory(text); }

mFSobject::mFSobject(mFSobject &base, const mString &text) : mFSobject() { parseOn(base, text); }

mFSobject::mFSobject(const mFSobject &f)
    : unc(false), volume(f.volume), path(f.path), name(f.name), parent(nullptr), disk(nullptr),
      fullPath(nullptr) {
    init();
}

mFSobject &mFSobject::operator=(const mFSobject &f) {
    if (&f != this) {
        clearCaches();
        volume = f.volume;
        path = f.path;
        name = f.name;
        init();
    }
    return *this;
}

mFSobject::~mFSobject() { clearCaches(); }

void mFSobject::clearCaches() {
    delete parent;
    delete disk;
    delete fullPath;
    parent = nullptr;
    disk = nullptr;
    fullPath = nullptr;
}

void mFSobject::init() {
    clearCaches();
    unc = volume.length() > 2 && volume[0] == '\\' && volume[1] == '\\';
}

void mFSobject::parse(mFSobject *base, const mString &text) {
    clearCaches();
    unc = false;
    volume.erase();
    path.erase();
    name.erase();
    std::vector<mString> nodes;
    parseNodes(static_cast<mFSdir *>(base), text, nodes);
    buildUpPath(nodes);
}

void mFSobject::parseOnAppDirectory(const mString &text) {
    if (isAbsolutePath(text)) {
        parse(nullptr, text);
        return;
    }
    mApp *app = mApp::getCurrentApp();
    mFSdir base = app ? app->getAppDirectory() : mFSdir();
    parse(&base, text);
}

void mFSobject::parseOn(mFSobject &base, const mString &text) {
    if (isAbsolutePath(text))
        parse(nullptr, text);
    else
        parse(base.isDir() ? &base : base.getParent(), text);
}

void mFSobject::parseAlongSearchPath(const mString &text, bool skipFailures) {
    if (isAbsolutePath(text)) {
        parse(nullptr, text);
        return;
    }
    // A copy: asking the disk must not depend on the list staying as it is.
    mApp *app = mApp::getCurrentApp();
    std::vector<mFSdir> dirs;
    if (app)
        dirs = app->getFileSearchPath();
    for (mFSdir &dir : dirs) {
        try {
            parse(&dir, text);
        } catch (const mError &) {
            if (!skipFailures)
                throw;
            continue;
        }
        if (exists())
            return;
    }
    if (dirs.empty())
        throw mError("invalid vector<T> subscript");
    parse(&dirs[0], text);
}

void mFSobject::parseNodes(mFSdir *base, const mString &text, std::vector<mString> &nodes) {
    mString work;
    bool pending;
    if (base && !isAbsolutePath(text)) {
        volume = base->volume;
        unc = base->unc;
        pending = false;
        bool rooted = !text.empty() && (text[0] == '/' || text[0] == '\\');
        if (!rooted) {
            work = base->path;
            if (!work.empty())
                work += '/';
            work += base->name;
            work += '/';
        }
    } else {
        pending = true;
    }
    work += text;
    for (int i = 0; i < work.length(); ++i)
        if (work[i] == '\\' || work[i] == ':')
            work[i] = '/';
    if (pending) {
        volume.erase();
        unc = work.length() >= 2 && work[0] == '/' && work[1] == '/';
    }

    int start = 0;
    for (int slash = work.find('/', 0); slash >= 0; slash = work.find('/', start)) {
        mString node = work.substr(start, slash - start);
        start = slash + 1;
        if (node.empty() || node == ".")
            continue;
        if (node == "..") {
            if (nodes.empty())
                VELNOR_THROW("Bad File system path!", 0);
            nodes.pop_back();
        } else if (!pending) {
            nodes.push_back(node);
        } else if (!unc) {
            volume = node;
            pending = false;
        } else if (volume.empty()) {
            volume = mString("\\\\") + node;
        } else {
            volume += '\\';
            volume += node;
            pending = false;
        }
    }

    mString last = work.substr(start, -1);
    if (!pending) {
        if (!last.empty())
            nodes.push_back(last);
    } else if (!unc) {
        volume = last;
    } else {
        // A server needs its share behind it, whether or not a separator follows the server.
        if (volume.empty() || last.empty())
            VELNOR_THROW("Malformed UNC file path", 0);
        volume += '\\';
        volume += last;
    }
}

void mFSobject::buildUpPath(std::vector<mString> &nodes) {
    if (nodes.empty())
        return;
    name = nodes.back();
    nodes.pop_back();
    for (size_t i = 0; i < nodes.size(); ++i) {
        if (i)
            path += '\\';
        path += nodes[i];
    }
}

const mString &mFSobject::getFullPath() {
    if (!fullPath) {
        mString text = volume;
        text += unc ? getPathSep() : getDriveSep();
        if (!path.empty()) {
            text += path;
            text += getPathSep();
        }
        text += name;
        fullPath = new mString(text);
    }
    return *fullPath;
}

mFSdir *mFSobject::getParent() {
    if (!parent && !(isDir() && path.empty())) {
        mString text = volume;
        text += unc ? getPathSep() : getDriveSep();
        text += path;
        parent = new mFSdir(text);
    }
    return parent;
}

mFSdisk *mFSobject::getDisk() {
    if (!disk)
        disk = new mFSdisk(volume);
    return disk;
}

mFSdir *mFSobject::getRootDir() { return getDisk()->getRoot(); }

bool mFSobject::exists() {
    if (name.empty())
        return false;
    struct _stat64 info;
    if (_stat64(getFullPath().c_str(), &info) != 0)
        return false;
    return isDir() ? (info.st_mode & _S_IFDIR) != 0 : (info.st_mode & _S_IFREG) != 0;
}

bool mFSobject::wildCardMatch(const mString &nameText, const mString &pattern) {
    if (pattern.empty())
        return true;
    const char *n = nameText.c_str();
    const char *p = pattern.c_str();
    while (*n) {
        if (*p == '?') {
            if (*n == '.')
                return false;
            ++n;
            ++p;
        } else if (*p == '*') {
            while (*n && *n != '.')
                ++n;
            if (p[1] != *n)
                return false;
            if (*n == '.') {
                ++n;
                p += 2;
            } else {
                ++p;
            }
        } else {
            if (toupper((unsigned char)*p) != toupper((unsigned char)*n))
                return false;
            ++n;
            ++p;
        }
        if (!*p)
            return true;
    }
    return true;
}

mString mFSobject::getPathSep() {
    static const mString sep("\\");
    return sep;
}

mString mFSobject::getDriveSep() {
    static const mString sep(":\\");
    return sep;
}

mString mFSobject::getTextEOL() {
    static const mString eol("\r\n");
    return eol;
}

bool mFSobject::isAbsolutePath(const mString &text) {
    if (text.length() < 3)
        return false;
    if (isalpha((unsigned char)text[0]) && text[1] == ':' && (text[2] == '/' || text[2] == '\\'))
        return true;
    return text[0] == '\\' && text[1] == '\\';
}

mFSdir::mFSdir(const mString &text) { parseAlongSearchPath(text, false); }

mFSdir::mFSdir(mFSdisk *d) : mFSobject(d->getRoot()->getFullPath()) {}

mFSdisk &mFSdisk::operator=(const mFSdisk &d) {
    if (&d != this) {
        delete root;
        root = nullptr;
        volume = d.volume;
    }
    return *this;
}

mFSdisk::~mFSdisk() { delete root; }

bool mFSdisk::isUNC() const { return volume.length() >= 3 && volume[0] == '\\' && volume[1] == '\\'; }

mString mFSdisk::rootText() const {
    return volume + (isUNC() ? mFSobject::getPathSep() : mFSobject::getDriveSep());
}

mFSdir *mFSdisk::getRoot() {
    if (!root)
        root = new mFSdir(rootText());
    return root;
}
