// Links from one file of the project to another lead somewhere.
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "documents/document.h"

namespace {

const std::filesystem::path root(SOURCE_DIRECTORY);

/// Every Markdown file that is ours.
std::vector<std::filesystem::path> documents() {
    std::vector<std::filesystem::path> found;
    const std::set<std::string> notOurs{"build", "node_modules", ".git"};
    for (auto entry = std::filesystem::recursive_directory_iterator(root);
         entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        if (notOurs.count(entry->path().filename()) != 0)
            entry.disable_recursion_pending();
        else if (entry->path().extension() == ".md")
            found.push_back(std::filesystem::relative(entry->path(), root));
    }
    return found;
}

/// "When a server refuses us" is reached by "when-a-server-refuses-us".
std::string anchorOf(const std::string& heading) {
    std::string anchor;
    for (const char character : heading)
        if (character == ' ' || character == '-')
            anchor += '-';
        else if (std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_')
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return anchor;
}

std::set<std::string> anchorsOf(const std::filesystem::path& document) {
    std::set<std::string> anchors;
    std::istringstream lines(textOf(document));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t level = line.find_first_not_of('#');
        if (level != 0 && level != std::string::npos && line[level] == ' ')
            anchors.insert(anchorOf(line.substr(level + 1)));
    }
    return anchors;
}

/// What stands in the brackets of "[text](target)", links of the web left out.
std::vector<std::string> targetsIn(const std::string& text) {
    const std::regex link(R"(\]\(([^)\s]+)\))");
    std::vector<std::string> targets;
    for (auto match = std::sregex_iterator(text.begin(), text.end(), link); match != std::sregex_iterator();
         ++match) {
        if (match->str(1).find("://") == std::string::npos)
            targets.push_back(match->str(1));
    }
    return targets;
}

void expectTarget(const std::filesystem::path& document, const std::string& target) {
    const std::string path = target.substr(0, target.find('#'));
    const std::filesystem::path file =
        path.empty() ? document : (document.parent_path() / path).lexically_normal();
    ASSERT_TRUE(std::filesystem::exists(root / file)) << document << " points to " << target;
    if (path.size() < target.size()) {
        EXPECT_EQ(anchorsOf(file).count(target.substr(path.size() + 1)), 1U)
            << document << " points to " << target;
    }
}

} // namespace

TEST(Documents, LinksLeadSomewhere) {
    std::size_t links = 0;
    for (const std::filesystem::path& document : documents()) {
        for (const std::string& target : targetsIn(textOf(document))) {
            expectTarget(document, target);
            ++links;
        }
    }
    EXPECT_GE(links, 50U);
}
