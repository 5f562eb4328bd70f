#include "monitor/write_dialogue.h"

#include <cstddef>
#include <string>

#include "text/utf8.h"

namespace opcua_cli {

void WriteDialogue::press(int key) {
    if (key == KeyEscape) {
        m_state = State::GivenUp;
    } else if (m_state == State::Confirming) {
        if (key == 'y' || key == 'Y')
            m_state = State::Confirmed;
        if (key == 'n' || key == 'N')
            m_state = State::GivenUp;
    } else if (key == KeyEnter) {
        accept();
    } else {
        m_objection.clear();
        m_input.press(key);
    }
}

void WriteDialogue::accept() {
    try {
        m_job.wanted = parseNodeValue(m_job.node.dataType, m_job.index ? Shape() : m_job.node.dimensions,
                                      m_input.text());
        m_state = State::Confirming;
    } catch (const Failure& failure) {
        m_objection = failure.problem().explanation;
    }
}

std::string WriteDialogue::situation(const std::string& present, std::size_t width) const {
    if (!m_objection.empty())
        return cutToWidth(printable(m_objection), width);
    return cutToWidth(cutToWidth(printable(m_job.given), width / 2) + " = " + printable(present), width);
}

std::string WriteDialogue::question(std::size_t width) const {
    if (m_state == State::Typing)
        return inputLine("new value: ", m_input.text(), width);
    return cutToWidth("[y]es, [n]o: write " + printable(toText(m_job.wanted)) + "?", width);
}

} // namespace opcua_cli
