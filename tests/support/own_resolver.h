#pragma once

#include <functional>
#include <string>
#include <vector>

namespace test_support {

/// Gives a name's numeric addresses, or an error of getaddrinfo(). It is asked on the threads that look up.
using Resolver = std::function<int(const std::string& name, std::vector<std::string>& addresses)>;

/// From now on this program's names are looked up so; null: by the system. own_resolver.cpp, which puts
/// itself in the place of the system's getaddrinfo(), belongs to the program's sources.
void setResolver(Resolver resolver);

} // namespace test_support
