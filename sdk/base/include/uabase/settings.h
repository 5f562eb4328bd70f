#pragma once

#include <memory>

#include "uabase/string.h"
#include "uabase/variant.h"
#include "uastack/export.h"

/// Read-only view of an INI file: groups in square brackets, `key = value` lines, `;` and `#` comments, UTF-8
/// with or without a byte order mark. Group and key names are case-sensitive. A missing or unreadable file is
/// empty.
class UASDK_EXPORT UaSettings {
public:
    explicit UaSettings(const UaUniString& fileName);
    ~UaSettings();
    UaSettings(const UaSettings&) = delete;
    UaSettings& operator=(const UaSettings&) = delete;

    /// The group that later value() calls look into.
    void beginGroup(const UaString& name);
    /// The key's text, without surrounding blanks and one pair of double quotes, or `defaultValue`.
    UaVariant value(const UaString& key, const UaVariant& defaultValue) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
