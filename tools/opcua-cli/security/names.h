#pragma once

#include <optional>
#include <string>

namespace opcua_cli {

/// Name of the library's number for a message security mode.
std::string modeName(int mode);

/// Name of the library's number for a security policy. A policy that the library does not know has the number
/// of None; with a mode that protects something it cannot be None.
std::string policyName(int policy, int mode);

std::string identityName(int identity);

/// Numbers by name. Case, '_' and '-' do not matter; a policy may also come as its URI, and Aes128 and Aes256
/// are short for the one policy of that name.
std::optional<int> modeFromName(const std::string& name);
std::optional<int> policyFromName(const std::string& name);

/// All names, with commas in between.
std::string modeNames();
std::string policyNames();

} // namespace opcua_cli
