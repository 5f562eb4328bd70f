#pragma once

#include <functional>
#include <string>

/// One way to connect, as the records number it.
struct SecurityCell {
    int policy;
    int mode;
    int identity;

    std::string text() const;
    /// A policy other than None comes with a mode other than None, and the other way round.
    bool isCombination() const { return (policy == 0) == (mode == 0); }
};

/// Walks through every policy, mode and identity, prints each cell with its outcome, and expects code 0 where
/// the server offers the cell and 1 where it does not.
/// @param whyNotOffered  empty when the server offers the cell
/// @param tryCell        connects, uses the connection, disconnects; returns the connect's code
void walkSecurityMatrix(const std::string& serverFamily,
                        const std::function<std::string(const SecurityCell&)>& whyNotOffered,
                        const std::function<int(const SecurityCell&)>& tryCell);
