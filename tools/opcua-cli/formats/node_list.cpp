#include "formats/node_list.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "formats/csv.h"
#include "formats/json_list.h"
#include "formats/text_file.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr const char* headingAdvice = "a first line such as node,value or node,type,index,value";

/// What the two kinds of files have in common.
Job makeJob(const std::string& node, const std::string& type, const std::string& index,
            std::optional<GivenValue> value) {
    Job job;
    job.given = node;
    job.reference = parseNodeReference(node);
    job.type = typeFromName(type);
    if (!type.empty() && !job.type)
        throw usageFailure(unknownTypeText(type));
    if (!index.empty())
        job.index = parseIndex(index);
    job.givenValue = std::move(value);
    return job;
}

/// The columns of a CSV file by the names in its first line; others are the user's own.
class Columns {
public:
    Columns(const CsvRow& heading, bool withValues) : m_count(heading.fields.size()) {
        for (const std::string_view name : {"node", "type", "index", "value", "error"}) {
            for (std::size_t i = 0; i < m_count; ++i)
                if (sameWord(heading.fields[i], name) && !m_places.emplace(name, i).second)
                    throw usageFailure("several columns are called \"" + std::string(name) + "\"");
            const bool needed = name == "node" || (name == "value" && withValues);
            if (needed && m_places.count(name) == 0)
                throw usageFailure("no column is called \"" + std::string(name) + "\"", headingAdvice);
        }
    }

    std::size_t count() const { return m_count; }
    /// Empty where there is no such column.
    std::string field(const CsvRow& row, std::string_view name) const {
        const auto found = m_places.find(name);
        return found == m_places.end() ? std::string() : row.fields[found->second];
    }

private:
    std::size_t m_count;
    std::map<std::string_view, std::size_t> m_places;
};

/// What the program itself writes is also "Double[3]", "other" and "other[3]", which state too little: empty
/// then, so that the node is looked for. Throws Failure (Usage).
std::string statedType(const std::string& text) {
    const std::string name = text.substr(0, text.find('['));
    const bool isOther = name == typeName(OpcUaDataType_Null);
    if (!isOther && !name.empty() && !typeFromName(name))
        throw usageFailure(unknownTypeText(name));
    return isOther || name != text ? std::string() : text;
}

Job fromRow(const Columns& columns, const CsvRow& row, bool withValues) {
    if (row.fields.size() != columns.count())
        throw usageFailure("there are " + std::to_string(row.fields.size()) +
                               " fields, but the first line has " + std::to_string(columns.count()),
                           "quotes around a field that holds a comma or semicolon");
    std::optional<GivenValue> value;
    if (withValues) {
        // Written by `read --csv`: the empty value would be taken for an empty text.
        if (const std::string error = columns.field(row, "error"); !error.empty())
            throw usageFailure("there is no value: " + error);
        value = columns.field(row, "value");
    }
    return makeJob(columns.field(row, "node"), statedType(columns.field(row, "type")),
                   columns.field(row, "index"), std::move(value));
}

Jobs fromCsv(const TextFile& file, bool withValues) {
    const std::vector<CsvRow> rows = parseCsv(file.text);
    const bool decimalComma = csvSeparator(file.text) == ';';
    if (rows.empty())
        throw usageFailure(file.name + " is empty", headingAdvice);
    const Columns columns =
        inPlace(placeIn(file, rows.front().line), [&] { return Columns(rows.front(), withValues); });
    Jobs jobs;
    for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
        const std::string place = placeIn(file, row->line);
        jobs.push_back(inPlace(place, [&] { return fromRow(columns, *row, withValues); }));
        jobs.back().place = place;
        jobs.back().decimalComma = decimalComma;
    }
    return jobs;
}

std::string indexField(const Json& entry) {
    const auto found = entry.find("index");
    if (found == entry.end() || !(found->is_array() || found->is_number()))
        return textField(entry, "index");
    return found->dump();
}

/// The type that an entry has is one of elements when there is a shape: it states as little then.
std::string typeField(const Json& entry) {
    const std::string type = statedType(textField(entry, "type"));
    const auto shape = entry.find("shape");
    const bool isArray = shape != entry.end() && shape->is_array() && !shape->empty();
    return isArray ? std::string() : type;
}

Job fromEntry(const Json& entry, bool withValues) {
    if (entry.is_string() && !withValues)
        return makeJob(entry.get<std::string>(), {}, {}, std::nullopt);
    if (!entry.is_object())
        throw usageFailure(withValues ? "the entry is no object" : "the entry is neither text nor object",
                           R"(an entry such as {"node": "ns=2;s=Line1.Speed", "value": 1.5})");
    // What the program's own documents call nodeId is a node as well.
    const std::string node = textField(entry, entry.contains("node") ? "node" : "nodeId");
    if (node.empty())
        throw usageFailure("there is no \"node\"");
    std::optional<GivenValue> value;
    if (withValues)
        value = valueIn(entry);
    return makeJob(node, typeField(entry), indexField(entry), std::move(value));
}

Jobs fromJson(const TextFile& file, bool withValues) {
    Jobs jobs;
    for (const JsonEntry& entry : parseJsonList(file.text).entries) {
        const std::string place = placeIn(file, entry.line);
        jobs.push_back(inPlace(place, [&] { return fromEntry(entry.value, withValues); }));
        jobs.back().place = place;
    }
    return jobs;
}

} // namespace

Jobs readNodeList(const std::string& path, bool withValues) {
    const TextFile file = readTextFile(path);
    // No CSV file begins like this: a column's name does not.
    const std::size_t first = file.text.find_first_not_of(" \t\r\n");
    const bool isJson = first != std::string::npos && (file.text[first] == '[' || file.text[first] == '{');
    Jobs jobs = inFile(file, [&] { return isJson ? fromJson(file, withValues) : fromCsv(file, withValues); });
    if (jobs.empty())
        throw usageFailure(file.name + " names no node");
    return jobs;
}

} // namespace opcua_cli
