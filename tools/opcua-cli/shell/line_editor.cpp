#include "shell/line_editor.h"

#include <algorithm>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <histedit.h>
#include <memory>
#include <optional>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "interrupt.h"
#include "output/dialogue.h"
#include "output/terminal.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr int keptLines = 500;

/// What is typed is UTF-8 as everything else, whatever the locale.
class Utf8Locale {
public:
    Utf8Locale() : m_locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (m_locale != nullptr)
            m_before = uselocale(m_locale);
    }
    ~Utf8Locale() {
        if (m_locale == nullptr)
            return;
        uselocale(m_before);
        freelocale(m_locale);
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t m_locale;
    locale_t m_before = nullptr;
};

termios settingsBefore{};

/// The terminal gets its settings back when the program ends in the middle of a line.
class HeldTerminal {
public:
    HeldTerminal() {
        if (tcgetattr(STDIN_FILENO, &settingsBefore) == 0)
            setLastAct([] { tcsetattr(STDIN_FILENO, TCSANOW, &settingsBefore); });
    }
    ~HeldTerminal() { setLastAct(nullptr); }
    HeldTerminal(const HeldTerminal&) = delete;
    HeldTerminal& operator=(const HeldTerminal&) = delete;
};

/// 1 for a character, 0 at the end, as the library wants it.
int readCharacter(EditLine*, wchar_t* character) {
    std::mbstate_t state{};
    for (char byte = 0; awaitInput() && ::read(STDIN_FILENO, &byte, 1) == 1;) {
        const std::size_t result = std::mbrtowc(character, &byte, 1, &state);
        if (result == static_cast<std::size_t>(-1))
            state = {};
        else if (result != static_cast<std::size_t>(-2))
            return 1;
    }
    return 0;
}

void showCandidates(const std::vector<std::string>& names) {
    constexpr std::size_t most = 100;
    std::string text = "\n";
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
        text += names[i] + (i + 1 < names.size() ? "  " : "");
    if (names.size() > most)
        text += "and " + std::to_string(names.size() - most) + " more";
    std::fputs((text + "\n").c_str(), stdout);
}

} // namespace

struct LineEditor::State {
    struct Free {
        void operator()(EditLine* line) const { el_end(line); }
        void operator()(History* lines) const { history_end(lines); }
    };

    explicit State(Complete function) : complete(std::move(function)) {}

    Complete complete;
    std::string prompt{};
    std::unique_ptr<History, Free> history{history_init()};
    std::unique_ptr<EditLine, Free> editor{el_init("opcua-cli", stdin, stdout, stderr)};

    static State& of(EditLine* editor) {
        void* state = nullptr;
        el_get(editor, EL_CLIENTDATA, &state);
        return *static_cast<State*>(state);
    }
    static char* promptOf(EditLine* editor) { return of(editor).prompt.data(); }

    static unsigned char completeLine(EditLine* editor, int) {
        const LineInfo* line = el_line(editor);
        const Completion found = of(editor).complete({line->buffer, line->cursor});
        if (!found.rest.empty())
            return el_insertstr(editor, found.rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
        if (found.candidates.size() < 2)
            return CC_ERROR;
        showCandidates(found.candidates);
        return CC_REDISPLAY;
    }
};

LineEditor::LineEditor(Complete complete) : m_state(std::make_unique<State>(std::move(complete))) {
    const Utf8Locale utf8;
    EditLine* const editor = m_state->editor.get();
    HistEvent event{};
    history(m_state->history.get(), &event, H_SETSIZE, keptLines);
    history(m_state->history.get(), &event, H_SETUNIQUE, 1);
    el_set(editor, EL_CLIENTDATA, m_state.get());
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_HIST, history, m_state->history.get());
    el_set(editor, EL_PROMPT, &State::promptOf);
    el_set(editor, EL_GETCFN, &readCharacter);
    // Kept by the editor as they are; of narrow ones it would make copies that nobody frees.
    el_wset(editor, EL_ADDFN, L"opcua-complete", L"completes commands and nodes", &State::completeLine);
    el_set(editor, EL_BIND, "^I", "opcua-complete", nullptr);
}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::read(const std::string& prompt) {
    const Utf8Locale utf8;
    const HeldTerminal held;
    m_state->prompt = shownOn(STDOUT_FILENO, printable(prompt));
    el_resize(m_state->editor.get());
    // As soon as the prompt is there, its keys mean what they do in a line.
    el_set(m_state->editor.get(), EL_PREP_TERM, 1);
    int count = 0;
    const char* const text = el_gets(m_state->editor.get(), &count);
    if (text == nullptr || count <= 0) {
        std::fputs("\n", stdout);
        std::fflush(stdout);
        return std::nullopt;
    }
    std::string line(text);
    if (!line.empty() && line.back() == '\n')
        line.pop_back();
    HistEvent event{};
    if (line.find_first_not_of(' ') != std::string::npos)
        history(m_state->history.get(), &event, H_ENTER, line.c_str());
    return line;
}

} // namespace opcua_cli
