#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "output/keys.h"
#include "values/job.h"

namespace opcua_cli {

/// Asks for a value for one node and has it confirmed.
class WriteDialogue {
public:
    enum class State { Typing, Confirming, Confirmed, GivenUp };

    /// The node's type must be known.
    WriteDialogue(std::size_t node, Job target) : m_node(node), m_job(std::move(target)) {}

    void press(int key);
    State state() const { return m_state; }

    std::size_t node() const { return m_node; }
    /// What was confirmed, as what is wanted.
    const Job& job() const { return m_job; }

    /// Two lines: what the node has now, or what is wrong with what was typed; and what is asked.
    std::string situation(const std::string& present, std::size_t width) const;
    std::string question(std::size_t width) const;

private:
    void accept();

    std::size_t m_node;
    Job m_job;
    LineInput m_input;
    std::string m_objection;
    State m_state = State::Typing;
};

} // namespace opcua_cli
