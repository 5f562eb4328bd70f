#pragma once

#include <string>

#include "text_file.h"

namespace opcua_cli {

/// Does something with what the user gave; what is wrong with it is told with the place in the file, if any.
template <typename Work>
auto inPlace(const std::string& place, const Work& work) {
    try {
        return work();
    } catch (const Failure& failure) {
        if (place.empty() || failure.exitCode() != ExitCode::Usage)
            throw;
        throw failureAt(place, failure.problem().explanation, failure.problem().advice);
    }
}

} // namespace opcua_cli
