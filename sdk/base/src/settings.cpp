#include "uabase/settings.h"

#include <array>
#include <cstddef>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

#include "uabase/file_descriptor.h"

// The reader of char texts, compiled in here: Debian's library would bring ICU along for the wide one.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>
#include <sys/stat.h>

namespace {

/// Far above any settings file: what is larger is something else, and not worth the memory.
constexpr off_t sizeLimit = 1 << 20;

/// Empty for whatever is not a readable regular file of a sane size.
std::string contentOf(const std::string& fileName) {
    // Not to block on a pipe that someone put there.
    const UaFileDescriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > sizeLimit) {
        return std::string();
    }
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    return file.readInto(content) ? content : std::string();
}

std::string withoutQuotes(const std::string& text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

} // namespace

struct UaSettings::Impl {
    CSimpleIniCaseA file{true};
    std::string group;
};

UaSettings::UaSettings(const UaUniString& fileName) : m_impl(std::make_unique<Impl>()) {
    // A file that cannot be parsed leaves the view empty: every key has its default.
    static_cast<void>(m_impl->file.LoadData(contentOf(fileName.toUtf8().text())));
}

UaSettings::~UaSettings() = default;

void UaSettings::beginGroup(const UaString& name) {
    m_impl->group = name.text();
}

UaVariant UaSettings::value(const UaString& key, const UaVariant& defaultValue) const {
    const char* text = m_impl->file.GetValue(m_impl->group.c_str(), key.toUtf8());
    return text != nullptr ? UaVariant(UaString(withoutQuotes(text))) : defaultValue;
}
