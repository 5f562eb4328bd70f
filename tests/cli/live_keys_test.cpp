#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/descriptor.h"
#include "live_table_pieces.h"
#include "monitor/array_reader.h"
#include "monitor/live_table.h"
#include "monitor/screen_thread.h"
#include "monitor/table_view.h"
#include "monitor/write_dialogue.h"
#include "output/keys.h"
#include "text/ascii.h"
#include "text/utf8.h"

using namespace cli_test;
using namespace opcua_cli;
using std::chrono::milliseconds;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

using Nodes = std::vector<std::size_t>;

const LiveTable::Clock::time_point now{std::chrono::hours(1)};

Job watched(const std::string& name, _OpcUaDataType type = OpcUaDataType_Double, Shape shape = {}) {
    Job job;
    job.given = name;
    job.node.nodeId = "ns=2;s=Id." + name;
    job.node.nodeClass = 2;
    job.node.dataType = type;
    job.node.isArray = !shape.empty();
    job.node.dimensions = std::move(shape);
    return job;
}

Monitored named(const std::vector<std::string>& names) {
    Monitored monitored{"opc.tcp://plant:4840", {}};
    for (const std::string& name : names)
        monitored.nodes.push_back(watched(name));
    return monitored;
}

Monitored many(std::size_t count) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back("Node" + std::to_string(i));
    return named(names);
}

Row rowWith(Value value, milliseconds later = milliseconds(0)) {
    Row row;
    row.last = changed(0, std::move(value), start + later);
    row.changed = true;
    return row;
}

/// Standard input holds these bytes and no more, as long as the object lives.
class StandardInput {
public:
    explicit StandardInput(const std::string& bytes) : m_usual(dup(STDIN_FILENO)) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0 || write(ends[1], bytes.data(), bytes.size()) < 0)
            throw std::runtime_error("no pipe");
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        close(ends[1]);
    }
    ~StandardInput() { dup2(m_usual.number(), STDIN_FILENO); }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    const Descriptor m_usual;
};

/// A table with keys.
class Keys : public testing::Test {
protected:
    std::vector<std::string> draw(std::size_t width = 100, std::size_t height = 24) {
        return linesOf(m_table.draw(terminal(width, height), start));
    }
    void type(const std::string& text) {
        for (const char key : text)
            m_table.press(static_cast<unsigned char>(key));
    }
    std::string bottom() { return draw().back(); }

    Monitored m_monitored = many(50);
    LiveTable m_table{m_monitored, true};
};

} // namespace

TEST(KeyDecoder, KnowsTheKeysOfUsualTerminals) {
    KeyDecoder decoder;
    EXPECT_THAT(decoder.decode("\x1b[A\x1b[B\x1bOA\x1bOB"), ElementsAre(KeyUp, KeyDown, KeyUp, KeyDown));
    EXPECT_THAT(decoder.decode("\x1b[5~\x1b[6~"), ElementsAre(KeyPageUp, KeyPageDown));
    EXPECT_THAT(decoder.decode("\x1b[H\x1bOH\x1b[1~\x1b[7~"),
                ElementsAre(KeyHome, KeyHome, KeyHome, KeyHome));
    EXPECT_THAT(decoder.decode("\x1b[F\x1bOF\x1b[4~\x1b[8~"), ElementsAre(KeyEnd, KeyEnd, KeyEnd, KeyEnd));
    EXPECT_THAT(decoder.decode("a\r\n\x7f\b\xc3\xbc"),
                ElementsAre('a', KeyEnter, KeyEnter, KeyBackspace, KeyBackspace, 0xc3, 0xbc));
}

TEST(KeyDecoder, PutsTogetherWhatComesInPieces) {
    KeyDecoder decoder;
    EXPECT_THAT(decoder.decode("\x1b"), IsEmpty());
    EXPECT_TRUE(decoder.isOpen());
    EXPECT_THAT(decoder.decode("["), IsEmpty());
    EXPECT_THAT(decoder.decode("6"), IsEmpty());
    EXPECT_THAT(decoder.decode("~x"), ElementsAre(KeyPageDown, 'x'));
    EXPECT_FALSE(decoder.isOpen());
}

TEST(KeyDecoder, TellsTheEscapeKeyFromASequence) {
    KeyDecoder decoder;
    decoder.decode("\x1b");
    EXPECT_THAT(decoder.close(), ElementsAre(KeyEscape));
    EXPECT_FALSE(decoder.isOpen());
    EXPECT_THAT(decoder.decode("\x1bq\x1b\x1b[A"), ElementsAre(KeyEscape, 'q', KeyEscape, KeyUp));
    decoder.decode("\x1b[");
    EXPECT_THAT(decoder.close(), IsEmpty());
}

TEST(KeyDecoder, DropsOtherKeys) {
    KeyDecoder decoder;
    EXPECT_THAT(decoder.decode("\x1b[15~\x1b[1;5C\x1bOPa"), ElementsAre('a'));
    EXPECT_THAT(decoder.decode("\x1b[12\x1b[Bb"), ElementsAre(KeyDown, 'b'));
    const auto keys = decoder.decode("\x1b[" + std::string(1000, '1') + "\x1b[A");
    EXPECT_EQ(keys.back(), KeyUp) << "no sequence goes on for ever";
}

TEST(LineInput, TakesTextAndDeletesWholeCharacters) {
    LineInput input;
    for (const char c : std::string("ab\x01ü"))
        input.press(static_cast<unsigned char>(c));
    input.press(KeyUp);
    EXPECT_EQ(input.text(), "abü");
    input.press(KeyBackspace);
    EXPECT_EQ(input.text(), "ab");
    input.press(0x15);
    EXPECT_EQ(input.text(), "");
    input.press(KeyBackspace);
    for (int i = 0; i < 100000; ++i)
        input.press('x');
    EXPECT_EQ(input.text().size(), 4096u);
}

TEST(InputLine, ShowsTheEndOfALongText) {
    EXPECT_EQ(inputLine("new: ", "12.5", 40), "new: 12.5_");
    EXPECT_EQ(inputLine("new: ", "0123456789", 10), "new: 6789_");
    EXPECT_EQ(inputLine("new: ", "üöäüöäüöä", 10), "new: äüöä_");
    for (std::size_t width = 0; width < 20; ++width) {
        const std::string line = inputLine("new: ", std::string(4096, 'x') + "\x1b中ü", width);
        EXPECT_LE(displayWidth(line), width);
        EXPECT_TRUE(isValidUtf8(line));
    }
}

TEST(AsciiText, KeepsItsWidth) {
    EXPECT_EQ(asciiText("abc \x1b[31m"), "abc \x1b[31m");
    EXPECT_EQ(asciiText("Füllstand 锅"), "F?llstand ??");
}

TEST(AsciiText, IsForLocalesWithoutUtf8) {
    const auto isUtf8 = [](const char* all, const char* type, const char* language) {
        setenv("LC_ALL", all, 1);
        setenv("LC_CTYPE", type, 1);
        setenv("LANG", language, 1);
        return localeHasUtf8();
    };
    EXPECT_TRUE(isUtf8("", "", "de_DE.UTF-8"));
    EXPECT_TRUE(isUtf8("", "C.utf8", "C"));
    EXPECT_TRUE(isUtf8("de_DE.UTF-8@euro", "C", "C"));
    EXPECT_FALSE(isUtf8("C", "C.UTF-8", "C.UTF-8"));
    EXPECT_FALSE(isUtf8("", "", "de_DE.ISO-8859-1"));
    EXPECT_FALSE(isUtf8("", "", ""));
}

TEST(TableView, TheSelectionIsAlwaysInTheWindow) {
    const Monitored monitored = many(100);
    const Rows rows(100);
    TableView view(monitored);
    EXPECT_THAT(view.window(rows, 3), ElementsAre(0, 1, 2));
    EXPECT_EQ(view.selected(), 0u);
    const auto after = [&](int key) {
        view.move(key);
        return view.window(rows, 3);
    };
    EXPECT_THAT(after(KeyUp), ElementsAre(0, 1, 2));
    after(KeyDown);
    after(KeyDown);
    EXPECT_THAT(after(KeyDown), ElementsAre(1, 2, 3));
    EXPECT_EQ(view.selected(), 3u);
    EXPECT_THAT(after(KeyPageDown), ElementsAre(4, 5, 6));
    EXPECT_THAT(after(KeyEnd), ElementsAre(97, 98, 99));
    EXPECT_EQ(view.selected(), 99u);
    EXPECT_THAT(after(KeyDown), ElementsAre(97, 98, 99));
    EXPECT_THAT(after(KeyPageUp), ElementsAre(96, 97, 98));
    EXPECT_THAT(after('x'), ElementsAre(96, 97, 98));
    EXPECT_THAT(after(KeyHome), ElementsAre(0, 1, 2));
    view.move(KeyEnd);
    EXPECT_EQ(view.window(rows, 200).size(), 100u);
    EXPECT_THAT(view.window(rows, 1), ElementsAre(99));
}

TEST(TableView, FiltersByNameAndId) {
    const Monitored monitored = named({"Level", "Speed", "Füllstand"});
    const Rows rows(3);
    TableView view(monitored);
    view.window(rows, 10);
    view.move(KeyDown);
    view.filterBy("EVEL");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(0));
    EXPECT_EQ(view.selected(), 0u);
    view.filterBy("id.SP");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(1));
    view.filterBy("üll");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(2));
    view.filterBy("nothing");
    EXPECT_THAT(view.window(rows, 10), IsEmpty());
    EXPECT_EQ(view.selected(), std::nullopt);
    view.move(KeyDown);
    view.filterBy("");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(0, 1, 2));
}

TEST(TableView, SortsInFourWays) {
    const Monitored monitored = named({"d", "c", "b", "a", "e"});
    const double none = std::numeric_limits<double>::quiet_NaN();
    const Rows rows{rowWith(10.0, milliseconds(1)), rowWith(std::string("x"), milliseconds(3)), Row(),
                    rowWith(std::int32_t{-2}, milliseconds(2)), rowWith(none)};
    TableView view(monitored);
    EXPECT_STREQ(view.sortName(), "");
    view.sortByNext();
    EXPECT_STREQ(view.sortName(), "name");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(3, 2, 1, 0, 4));
    view.sortByNext();
    EXPECT_STREQ(view.sortName(), "value");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(3, 0, 1, 4, 2));
    view.sortByNext();
    EXPECT_STREQ(view.sortName(), "latest change");
    EXPECT_THAT(view.window(rows, 10), ElementsAre(1, 3, 0, 4, 2));
    EXPECT_EQ(view.selected(), 0u) << "the node, not the line";
    view.sortByNext();
    EXPECT_THAT(view.window(rows, 10), ElementsAre(0, 1, 2, 3, 4));
}

TEST(ElementsText, NestsWhatIsThereOfAMatrix) {
    const auto text = [](Shape shape, int count) {
        NodeValue value(std::move(shape), {});
        for (std::int32_t i = 0; i < count; ++i)
            value.elements.emplace_back(i);
        return elementsText(value);
    };
    EXPECT_EQ(text({3}, 3), "[0, 1, 2]");
    EXPECT_EQ(text({3}, 1), "[0, …");
    EXPECT_EQ(text({0}, 0), "[]");
    EXPECT_EQ(text({2, 2}, 4), "[[0, 1], [2, 3]]");
    EXPECT_EQ(text({2, 2, 1}, 3), "[[[0], [1]], [[2], …");
    EXPECT_EQ(text({4000000000, 4294967296, 4294967296}, 2), "[[[0, 1, …");
}

TEST(WriteDialogue, AsksAndHasItConfirmed) {
    WriteDialogue dialogue(7, watched("Speed", OpcUaDataType_Int16));
    const auto type = [&](const std::string& keys) {
        for (const char key : keys)
            dialogue.press(key);
    };
    type("70000\n");
    EXPECT_EQ(dialogue.state(), WriteDialogue::State::Typing);
    EXPECT_THAT(dialogue.situation("5", 100), HasSubstr("out of range"));
    type("\x7f");
    EXPECT_EQ(dialogue.situation("5", 100), "Speed = 5");
    EXPECT_EQ(dialogue.question(100), "new value: 7000_");
    type("\n");
    EXPECT_EQ(dialogue.state(), WriteDialogue::State::Confirming);
    EXPECT_EQ(dialogue.question(100), "[y]es, [n]o: write 7000?");
    type("7\n \x7f");
    EXPECT_EQ(dialogue.state(), WriteDialogue::State::Confirming);
    type("y");
    EXPECT_EQ(dialogue.state(), WriteDialogue::State::Confirmed);
    EXPECT_EQ(dialogue.job().wanted.elements, std::vector<Value>{std::int16_t{7000}});
    EXPECT_EQ(dialogue.node(), 7u);
}

TEST(WriteDialogue, IsGivenUp) {
    for (const std::string keys : {"\x1b", "1\x1b", "1\n\x1b", "1\nn", "1\nN"}) {
        WriteDialogue dialogue(0, watched("Speed"));
        for (const char key : keys)
            dialogue.press(key);
        EXPECT_EQ(dialogue.state(), WriteDialogue::State::GivenUp) << keys;
    }
}

TEST(WriteDialogue, FitsNarrowTerminals) {
    WriteDialogue dialogue(0, watched(std::string(100, 'n'), OpcUaDataType_String));
    for (int i = 0; i < 100; ++i)
        dialogue.press('v');
    EXPECT_THAT(dialogue.situation("\x1b[31m", 40),
                AllOf(StartsWith("nnnnnnnnnnnnnnnnnnn… = "), HasSubstr("\\x1b")));
    EXPECT_EQ(displayWidth(dialogue.question(40)), 40u);
    dialogue.press(KeyEnter);
    EXPECT_LE(displayWidth(dialogue.question(40)), 40u);
}

TEST_F(Keys, ShowTheStateOnTwoLines) {
    m_table.change(changed(0, 1.0));
    EXPECT_EQ(draw()[0], "connected  50 nodes, 1 change  opc.tcp://plant:4840");
    EXPECT_EQ(bottom(), "rows 1-21 of 50  ? keys");
    type("/Node1\n"
         "ssp");
    m_table.change(changed(0, 2.0));
    m_table.change(changed(0, 3.0));
    EXPECT_EQ(bottom(), "paused: 2 new  filter: Node1  sort: value  rows 1-11 of 11  ? keys");
    EXPECT_THAT(draw(40).back(), AllOf(StartsWith("paused: 2 new  filter: Node1  sort: "), EndsWith("…")));
}

TEST_F(Keys, FitTheTerminal) {
    m_table.leftOut({std::string(300, 'r')});
    const auto expectFitting = [&] {
        for (const std::size_t height : {4u, 10u, 24u, 60u}) {
            for (const std::size_t width : {40u, 60u, 80u, 200u}) {
                const auto text = draw(width, height);
                EXPECT_LE(text.size(), height);
                for (const std::string& line : text)
                    EXPECT_LE(displayWidth(line), width) << line;
            }
        }
    };
    m_table.change(changed(0, std::string(300, 'v')));
    expectFitting();
    type("?");
    expectFitting();
    type("?/abc");
    expectFitting();
    type("\x1bw");
    expectFitting();
}

TEST_F(Keys, PauseKeepsEverythingForLater) {
    m_table.change(changed(0, 1.0));
    type("p");
    const auto still = draw();
    for (int i = 0; i < 3; ++i)
        m_table.change(changed(0, 5.0 + i));
    EXPECT_EQ(draw()[2], still[2]);
    EXPECT_THAT(bottom(), StartsWith("paused: 3 new"));
    type(" ");
    EXPECT_THAT(draw()[2], AllOf(HasSubstr("7  "), HasSubstr("▁▆▇█")));
    EXPECT_THAT(draw()[0], HasSubstr("4 changes"));
}

TEST_F(Keys, WriteWhatIsSelectedAndTellWhatCameOfIt) {
    m_table.change(changed(1, 2.123456789));
    draw();
    m_table.press(KeyDown);
    type("w");
    EXPECT_THAT(draw(), testing::Contains("Node1 = 2.123456789"));
    type("3\n");
    EXPECT_EQ(m_table.valueToWrite(), std::nullopt);
    type("y");
    EXPECT_EQ(bottom(), "writing: Node1 = 3");
    const std::optional<Job> job = m_table.valueToWrite();
    ASSERT_TRUE(job);
    EXPECT_EQ(job->node.nodeId, "ns=2;s=Id.Node1");
    EXPECT_EQ(toText(job->wanted), "3");
    EXPECT_EQ(m_table.valueToWrite(), std::nullopt) << "once";
    type("w");
    EXPECT_EQ(bottom(), "still writing: Node1 = 3");
    type("/N");
    m_table.written(Problem{"refused"});
    type("\n");
    EXPECT_EQ(bottom(), "not written: refused: Node1 = 3") << "seen although something was typed meanwhile";
}

TEST_F(Keys, WriteANodeThatCouldNotBeMonitored) {
    m_monitored.nodes[0].problem = Problem{"there are too many"};
    m_table.refused(0);
    draw();
    type("w3\ny");
    const std::optional<Job> job = m_table.valueToWrite();
    ASSERT_TRUE(job);
    EXPECT_FALSE(job->problem) << "it would be passed over";
    EXPECT_EQ(job->given, "Node0");
}

TEST_F(Keys, EndTheProgram) {
    EXPECT_FALSE(m_table.isEnded());
    type("/q\x1b");
    EXPECT_FALSE(m_table.isEnded());
    type("q");
    EXPECT_TRUE(m_table.isEnded());
}

TEST(LiveArrays, AreReadOnceASecondAtMost) {
    Monitored monitored = many(1);
    monitored.nodes.push_back(watched("Array", OpcUaDataType_Int32, {10}));
    monitored.nodes.push_back(watched("Unknown", OpcUaDataType_Int32));
    monitored.nodes.back().node.isArray = true;
    LiveTable table(monitored);
    for (std::size_t node = 0; node < 3; ++node)
        table.change(changed(node, Value{}));
    table.draw(terminal(), start);
    EXPECT_EQ(table.arrayToRead(now), 1u);
    EXPECT_EQ(table.arrayToRead(now + milliseconds(5000)), std::nullopt) << "it did not change";
    table.arrayRead(1, "[1, 2]");
    table.change(changed(1, Value{}));
    EXPECT_EQ(table.arrayToRead(now + milliseconds(999)), std::nullopt);
    EXPECT_EQ(table.arrayToRead(now + milliseconds(1000)), 1u);
    EXPECT_THAT(linesOf(table.draw(terminal(), start))[3], HasSubstr("[1, 2]")) << "until it is read anew";
    table.arrayRead(1, std::nullopt);
    EXPECT_THAT(linesOf(table.draw(terminal(), start))[3], HasSubstr("not readable"));
}

TEST(LiveArrays, AreReadAgainOnceAfterAnOutage) {
    const Monitored monitored{"", Jobs(2, watched("Array", OpcUaDataType_Int32, {10}))};
    LiveTable table(monitored);
    table.change(changed(0, Value{}));
    table.draw(terminal(), start);
    LiveTable::Clock::time_point later = now;
    EXPECT_EQ(table.arrayToRead(later), 0u);
    for (const LinkEvent::Kind kind : {LinkEvent::Kind::Connected, LinkEvent::Kind::Answers}) {
        table.arrayRead(0, std::nullopt);
        table.event({LinkEvent::Kind::Silent, "waiting"});
        EXPECT_EQ(table.arrayToRead(later += milliseconds(1000)), std::nullopt);
        table.event({kind, "the server is back"});
        EXPECT_EQ(table.arrayToRead(later), 0u);
        EXPECT_EQ(table.arrayToRead(later += milliseconds(1000)), std::nullopt) << "1 has no value yet";
    }
    table.arrayRead(0, "[1]");
    EXPECT_THAT(linesOf(table.draw(terminal(), start))[2], HasSubstr("[1]"));
}

TEST(LiveArrays, AreReadInTurnAndOnTheScreenOnly) {
    const Monitored monitored{"", Jobs(10, watched("Array", OpcUaDataType_Int32, {10}))};
    LiveTable table(monitored, true);
    const auto changeAll = [&] {
        for (std::size_t node = 0; node < 10; ++node)
            table.change(changed(node, Value{}));
    };
    changeAll();
    table.draw(terminal(80, 5), start);
    EXPECT_EQ(table.arrayToRead(now), 0u);
    changeAll();
    EXPECT_EQ(table.arrayToRead(now + milliseconds(2000)), 1u) << "0 had its turn";
    EXPECT_EQ(table.arrayToRead(now + milliseconds(2000)), 0u);
    EXPECT_EQ(table.arrayToRead(now + milliseconds(2000)), std::nullopt) << "the others don't show";
}

TEST(LongTexts, AreKeptUpToABound) {
    const Monitored monitored{
        "", {watched("Text", OpcUaDataType_String), watched("Array", OpcUaDataType_Int32, {10})}};
    std::string longText = "x"; // a bound on bytes lies within a character
    for (int i = 0; i < 10000; ++i)
        longText += "ü";
    LiveTable table(monitored, true);
    table.change(changed(0, longText));
    table.change(changed(1, Value{}));
    table.arrayRead(1, longText);
    for (const int key : {int{KeyHome}, int{KeyEnd}}) {
        table.draw(terminal(), start);
        table.press(key);
        table.press('w');
        const auto text = linesOf(table.draw(terminal(20000, 24), start));
        const std::string& present = text[text.size() - 2];
        EXPECT_THAT(present, AllOf(HasSubstr("xüüü"), HasSubstr("üüü…"))) << "no half character";
        EXPECT_LT(displayWidth(present), 2500u);
        table.press(KeyEscape);
    }
}

/// Whether the last key is Escape or begins a sequence is known only after the keyboard is gone.
TEST(ScreenThread, GoesOnWhenTheKeyboardGoesBehindAnEscape) {
    const StandardInput keyboard("\x1b");
    testing::internal::CaptureStdout();
    std::atomic<int> frames{0};
    {
        const ScreenThread screen(
            [&] {
                ++frames;
                return std::string("a line\n");
            },
            [](int) {});
        // One before the key, one before the end of the keyboard, one before the sequence is given up.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (frames < 5 && std::chrono::steady_clock::now() < deadline) {
            ASSERT_NO_THROW(screen.throwIfFailed());
            std::this_thread::yield();
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GE(frames, 5);
}
