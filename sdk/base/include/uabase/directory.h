#pragma once

#include "uabase/file_descriptor.h"
#include "uabase/string.h"
#include "uastack/export.h"

/// A directory; relative paths are taken from it.
class UASDK_EXPORT UaDir {
public:
    /// The empty path is the working directory.
    explicit UaDir(const UaUniString& path);

    static UaUniString fromNativeSeparators(const UaUniString& path);
    UaUniString filePath(const UaUniString& name) const;
    /// Creates the missing directories of `path` (everything up to its last slash), each with mode 0700.
    /// False when one cannot be made.
    bool mkpath(const UaUniString& path) const;

private:
    UaUniString m_path;
};

/// A file, as far as one asks whether it can be read.
class UASDK_EXPORT UaFile {
public:
    explicit UaFile(const UaUniString& path) : m_path(path) {}

    /// Opens for reading. False when there is no such file, when it may not be read, or when it is a
    /// directory.
    bool open();
    /// After open() has failed: whether there surely is no such file. Any other failure says nothing of what
    /// the file holds.
    bool isMissing() const;
    /// Why open() has failed.
    UaString problem() const;
    void close() { m_file.close(); }

private:
    UaUniString m_path;
    UaFileDescriptor m_file;
    int m_error = 0;
};
