#include "files/profiles.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "files/library_files.h"
#include "security/names.h"

namespace opcua_cli {
namespace {

std::string trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(blanks) + 1 - first));
}

int numberOf(std::optional<int> number, const char* what, const std::string& name, const std::string& names) {
    if (!number)
        throw usageFailure(std::string("no ") + what + " is called " + name, "one of " + names);
    return *number;
}

template <typename Field>
void setOnce(std::optional<Field>& field, Field value, const std::string& key) {
    if (field)
        throw usageFailure(key + " is there twice");
    field = std::move(value);
}

class ProfileReader {
public:
    explicit ProfileReader(const TextFile& file) : m_file(file) {}

    Profiles read() {
        std::string_view rest = m_file.text;
        while (!rest.empty()) {
            const std::size_t end = rest.find('\n');
            m_place = placeIn(m_file, ++m_line);
            inPlace(m_place, [&] { take(trimmed(rest.substr(0, end))); });
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        }
        finish();
        return m_profiles;
    }

private:
    void take(const std::string& line) {
        const std::size_t equals = line.find('=');
        if (line.empty() || line[0] == '#' || line[0] == ';')
            return;
        if (line[0] == '[')
            begin(line);
        else if (equals == std::string::npos)
            throw usageFailure("\"" + line + "\" is neither a section nor a key with a value",
                               "[name], key = value, or # in front of a remark");
        else
            set(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
    }

    void begin(const std::string& line) {
        finish();
        const std::string name = line.back() == ']' ? trimmed(line.substr(1, line.size() - 2)) : "";
        if (name.empty())
            throw usageFailure("\"" + line + "\" names no profile", "[name]");
        if (!m_profiles.try_emplace(name).second)
            throw usageFailure("there are two profiles " + name);
        m_name = name;
        m_begin = m_place;
    }

    void finish() const {
        if (!m_name.empty() && m_profiles.at(m_name).url.empty())
            throw failureAt(m_begin, "the profile " + m_name + " has no URL", "url = opc.tcp://host:port");
    }

    void set(const std::string& key, const std::string& value) {
        if (m_name.empty())
            throw usageFailure(key + " stands before the first profile", "[name] above it");
        if (key == "password")
            throw usageFailure("a password has no place in this file",
                               "the environment variable OPCUA_CLI_PASSWORD, or be asked");
        if (value.empty())
            throw usageFailure(key + " has no value");
        Profile& profile = m_profiles[m_name];
        if (key == "url")
            setUrl(profile, value);
        else if (key == "policy")
            setOnce(profile.policy, numberOf(policyFromName(value), "security policy", value, policyNames()),
                    key);
        else if (key == "mode")
            setOnce(profile.mode, numberOf(modeFromName(value), "security mode", value, modeNames()), key);
        else if (key == "user")
            setOnce(profile.user, value, key);
        else
            throw usageFailure("\"" + key + "\" is unknown here", "url, policy, mode or user");
    }

    void setUrl(Profile& profile, const std::string& url) const {
        if (!profile.url.empty())
            throw usageFailure("url is there twice");
        profile.url = url;
        profile.place = m_place;
    }

    const TextFile& m_file;
    std::size_t m_line = 0;
    std::string m_place;
    std::string m_name;
    std::string m_begin; ///< where that profile begins
    Profiles m_profiles;
};

std::string namesOf(const Profiles& profiles) {
    std::string names;
    for (const auto& [name, profile] : profiles)
        names += (names.empty() ? "@" : ", @") + name;
    return names;
}

} // namespace

std::filesystem::path profilesFile() {
    std::filesystem::path base = absolutePathIn("XDG_CONFIG_HOME");
    if (base.empty() && !absolutePathIn("HOME").empty())
        base = absolutePathIn("HOME") / ".config";
    if (base.empty())
        throw usageFailure("there is no place for profiles: HOME is not set", "set HOME or XDG_CONFIG_HOME");
    return base / "opcua-cli" / "profiles.ini";
}

Profiles parseProfiles(const TextFile& file) {
    return ProfileReader(file).read();
}

Profile findProfile(const std::string& name) {
    const Profiles profiles = parseProfiles(readTextFile(profilesFile().string()));
    const auto found = profiles.find(name);
    if (found == profiles.end())
        throw usageFailure("there is no profile " + name + " in " + profilesFile().string(),
                           profiles.empty() ? "[" + name + "], and url = opc.tcp://host:port below it"
                                            : namesOf(profiles));
    return found->second;
}

} // namespace opcua_cli
