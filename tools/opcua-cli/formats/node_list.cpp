#include "node_list.h"

#include "csv.h"
#include "in_place.h"
#include "json_fields.h"
#include "located_json.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace opcua_cli {
namespace {

constexpr const char* headingAdvice = "a first line such as node,value or node,type,index,value";

std::optional<_OpcUaDataType> statedType(const std::string& name) {
    if (name.empty())
        return std::nullopt;
    const auto type = typeFromName(name);
    if (!type)
        throw usageFailure(unknownTypeText(name));
    return type;
}

/// What the two kinds of files have in common.
NodeRequest makeRequest(const std::string& place, const std::string& node, const std::string& type,
                        const std::string& index, std::optional<GivenValue> value) {
    return inPlace(place, [&] {
        NodeRequest request{place, node, parseNodeReference(node), statedType(type), {}, std::move(value)};
        if (!index.empty())
            request.index = parseIndex(index);
        return request;
    });
}

/// The columns of a CSV file by the names in its first line; others are the user's own.
class Columns {
public:
    Columns(const TextFile& file, const CsvRow& heading, bool withValues) : m_count(heading.fields.size()) {
        for (std::size_t i = 0; i < columnNames.size(); ++i)
            m_places[i] = find(file, heading, columnNames[i]);
        for (const char* name : {"node", "value"}) {
            if ((withValues || std::string_view(name) == "node") && !has(name))
                throw failureAt(placeIn(file, heading.line),
                                "no column is called \"" + std::string(name) + "\"", headingAdvice);
        }
    }

    bool has(std::string_view name) const { return place(name) < m_count; }
    std::string field(const CsvRow& row, std::string_view name) const {
        return has(name) ? row.fields[place(name)] : std::string();
    }
    std::size_t count() const { return m_count; }

private:
    static constexpr std::array<std::string_view, 4> columnNames{"node", "type", "index", "value"};

    std::size_t find(const TextFile& file, const CsvRow& heading, std::string_view name) const {
        const auto& titles = heading.fields;
        const auto matches = [&](const std::string& title) { return sameWord(title, name); };
        const auto first = std::find_if(titles.begin(), titles.end(), matches);
        if (first != titles.end() && std::find_if(first + 1, titles.end(), matches) != titles.end())
            throw failureAt(placeIn(file, heading.line),
                            "several columns are called \"" + std::string(name) + "\"");
        return static_cast<std::size_t>(first - titles.begin());
    }

    std::size_t place(std::string_view name) const {
        return m_places[static_cast<std::size_t>(std::find(columnNames.begin(), columnNames.end(), name) -
                                                 columnNames.begin())];
    }

    std::size_t m_count;
    std::array<std::size_t, columnNames.size()> m_places{};
};

std::vector<NodeRequest> fromCsv(const TextFile& file, bool withValues) {
    std::vector<CsvRow> rows;
    try {
        rows = parseCsv(file.text);
    } catch (const CsvError& error) {
        throw failureAt(placeIn(file, error.line), error.what());
    }
    if (rows.empty())
        throw usageFailure(file.name + " is empty", headingAdvice);
    const Columns columns(file, rows.front(), withValues);
    std::vector<NodeRequest> requests;
    for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
        const std::string place = placeIn(file, row->line);
        if (row->fields.size() != columns.count())
            throw failureAt(place,
                            "there are " + std::to_string(row->fields.size()) +
                                " fields, but the first line has " + std::to_string(columns.count()),
                            "quotes around a field that holds a comma");
        requests.push_back(makeRequest(
            place, columns.field(*row, "node"), columns.field(*row, "type"), columns.field(*row, "index"),
            withValues ? std::optional<GivenValue>(columns.field(*row, "value")) : std::nullopt));
    }
    return requests;
}

std::string indexField(const Json& entry) {
    const auto found = entry.find("index");
    if (found == entry.end() || !(found->is_array() || found->is_number()))
        return textField(entry, "index");
    return found->dump();
}

NodeRequest fromEntry(const std::string& place, const Json& entry, bool withValues) {
    if (entry.is_string() && !withValues)
        return makeRequest(place, entry.get<std::string>(), {}, {}, std::nullopt);
    if (!entry.is_object())
        throw failureAt(place, withValues ? "the entry is no object" : "the entry is neither text nor object",
                        R"(an entry such as {"node": "ns=2;s=Line1.Speed", "value": 1.5})");
    return inPlace(place, [&] {
        // What the program's own documents call nodeId is a node as well.
        const std::string node = textField(entry, entry.contains("node") ? "node" : "nodeId");
        if (node.empty())
            throw usageFailure("there is no \"node\"");
        std::optional<GivenValue> value;
        if (withValues)
            value = valueField(entry);
        return makeRequest({}, node, textField(entry, "type"), indexField(entry), std::move(value));
    });
}

std::vector<NodeRequest> fromJson(const TextFile& file, bool withValues) {
    std::vector<NodeRequest> requests;
    try {
        for (const JsonEntry& entry : parseJsonList(file.text).entries) {
            const std::string place = placeIn(file, entry.line);
            requests.push_back(fromEntry(place, entry.value, withValues));
            requests.back().place = place;
        }
    } catch (const JsonError& error) {
        throw failureAt(placeIn(file, error.line), error.what());
    }
    return requests;
}

} // namespace

std::vector<NodeRequest> readNodeList(const std::string& path, bool withValues) {
    const TextFile file = readTextFile(path);
    // No CSV file begins like this: a column's name does not.
    const std::size_t first = file.text.find_first_not_of(" \t\r\n");
    const bool isJson = first != std::string::npos && (file.text[first] == '[' || file.text[first] == '{');
    std::vector<NodeRequest> requests = isJson ? fromJson(file, withValues) : fromCsv(file, withValues);
    if (requests.empty())
        throw usageFailure(file.name + " names no node");
    return requests;
}

} // namespace opcua_cli
