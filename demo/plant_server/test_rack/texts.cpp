#include <cstddef>
#include <string>
#include <vector>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

/// A text of this many bytes whose every position can be told: "0123456789abcdef0123...".
std::string pattern(std::size_t bytes) {
    std::string result;
    for (std::size_t position = 0; position < bytes; ++position)
        result += "0123456789abcdef"[position % 16];
    return result;
}

std::string repeated(const std::string& part, std::size_t times) {
    std::string result;
    for (std::size_t count = 0; count < times; ++count)
        result += part;
    return result;
}

/// Sizes at, and on both sides of, the 256 bytes that clients with fixed fields have.
const std::vector<std::size_t> telling{255, 256, 300};

} // namespace

void addTexts(const Branch& rack) {
    const Branch folder = rack.folder("Text", "Texts");
    folder.variable("Empty", Value::scalar(""));
    folder.variable("Null", Value::scalar(UA_STRING_NULL));
    for (const std::size_t bytes : telling)
        folder.variable("Bytes" + std::to_string(bytes), Value::scalar(pattern(bytes)));
    folder.variable("NonAscii", Value::scalar("Füllstand 锅炉 °C €"));
    folder.variable("Chinese300", Value::scalar(repeated("锅", 100)),
                    described("A cut at 256 bytes hits a character"));
    folder.variable("EmbeddedZero", Value::scalar(std::string("before\0after", 12)));
    folder.variable("LongArray", Value::strings({"", pattern(255), pattern(256), pattern(300), "Füllstand"}));
}

void addNames(const Branch& rack) {
    const Branch folder = rack.folder("Names", "Names and node ids");
    folder.variable("Füllstand", Value::scalar(UA_Double(1)));
    folder.variable("Kesseldruck ÄÖÜß", Value::scalar(UA_Double(2)));
    folder.variable("锅炉压力", Value::scalar(UA_Double(3)));
    folder.variable("with = ; \" quotes and blanks", Value::scalar(UA_Double(4)));
    for (const std::size_t bytes : telling) {
        VariableOptions options;
        options.displayName = pattern(bytes);
        folder.variable("DisplayName" + std::to_string(bytes), Value::scalar(UA_Double(5)), options);

        // What counts is the whole text, "ns=3;s=" included.
        const std::string prefix = "NodeId" + std::to_string(bytes) + ".";
        const std::size_t intro = std::string("ns=3;s=").size();
        VariableOptions id;
        id.id = NodeId(TestRackNamespace, prefix + pattern(bytes - intro - prefix.size()));
        folder.variable("NodeId" + std::to_string(bytes), Value::scalar(UA_Double(6)), id);

        VariableOptions browse;
        browse.id = folder.idOf("BrowseName" + std::to_string(bytes));
        folder.variable(pattern(bytes), Value::scalar(UA_Double(7)), browse);
    }
    VariableOptions locale;
    locale.locale = "de-DE";
    locale.displayName = "Drehzahl";
    folder.variable("GermanLocale", Value::scalar(UA_Double(8)), locale);
    locale.locale = "";
    locale.displayName = "No locale";
    folder.variable("NoLocale", Value::scalar(UA_Double(9)), locale);
}

} // namespace plant_server
