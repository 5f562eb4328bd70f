#pragma once

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
