#pragma once

#include <string>
#include <vector>

#include "failure.h"

namespace opcua_cli {

/// Puts the reason, as the texts of the library's trace tell it, into a problem of a connect to `url` or of a
/// connection that was lost: in plain words where it is known, else as it stands there.
void explainConnect(Problem& problem, const std::vector<std::string>& texts, const std::string& url);
void explainLoss(Problem& problem, const std::vector<std::string>& texts);

/// The same for the node of an operation; an empty id takes what was told last.
void explainNode(Problem& problem, const std::vector<std::string>& texts, const std::string& nodeId);

/// What is wrong with the server's certificate that the library told last; empty when nothing is told.
std::string certificateDefect(const std::vector<std::string>& texts);

} // namespace opcua_cli
