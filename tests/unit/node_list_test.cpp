#include <functional>
#include <memory>
#include <pthread.h>
#include <string>

#include "OpcUaNodelist.h"
#include "client_test.h"

namespace {

OpcUaNode* newNode(const std::string& nodeId) {
    auto* node = new OpcUaNode;
    node->parent = nullptr;
    node->next = nullptr;
    node->child = nullptr;
    setField(node->nodeId, nodeId);
    return node;
}

class NodeList : public StandInTest {
protected:
    ~NodeList() override { m_list.deleteMemory(&m_top); }

    /// Appends a record beside the others on top.
    OpcUaNode* top(const std::string& nodeId) {
        OpcUaNode* node = newNode(nodeId);
        if (m_top != nullptr)
            m_list.addnextNode(m_top, node);
        else
            m_top = node;
        return node;
    }
    OpcUaNode* below(OpcUaNode* parent, const std::string& nodeId) {
        OpcUaNode* node = newNode(nodeId);
        m_list.addNode(parent, node);
        return node;
    }
    OpcUaNode* find(const std::string& key) {
        OpcUaNode* byText = nullptr;
        m_list.findNode(key.c_str(), m_top, &byText);
        OpcUaNode record = makeNode(key);
        OpcUaNode* byRecord = nullptr;
        m_list.findNode(&record, m_top, &byRecord);
        EXPECT_EQ(byText, byRecord);
        return byText;
    }

    COpcUaNodelist m_list;
    OpcUaNode* m_top = nullptr;
};

} // namespace

TEST_F(NodeList, StartsEmpty) {
    EXPECT_EQ(m_list.root, nullptr);
    EXPECT_EQ(m_list.lookupHead, nullptr);
}

TEST_F(NodeList, ItsDestructorFreesNothing) {
    OpcUaNode* node = newNode("a");
    {
        COpcUaNodelist list;
        list.root = node;
        list.lookupHead = node;
    }
    EXPECT_EQ(record_census::live(), 1);
    delete node;
}

TEST_F(NodeList, FirstChildHangsFromItsParentFurtherOnesFromTheLast) {
    OpcUaNode* parent = top("p");
    OpcUaNode* first = below(parent, "1");
    EXPECT_EQ(parent->child, first);
    OpcUaNode* second = below(parent, "2");
    OpcUaNode* third = below(parent, "3");
    EXPECT_EQ(parent->child, first);
    EXPECT_EQ(first->next, second);
    EXPECT_EQ(second->next, third);
    EXPECT_EQ(third->next, nullptr);
}

TEST_F(NodeList, AddingSetsNeitherParentNorNext) {
    OpcUaNode* parent = top("p");
    OpcUaNode* node = newNode("1");
    OpcUaNode* tail = newNode("2");
    node->next = tail;
    m_list.addNode(parent, node);
    EXPECT_EQ(node->parent, nullptr);
    EXPECT_EQ(node->next, tail) << "a row is added whole";
}

TEST_F(NodeList, AppendingGoesBehindTheLastSibling) {
    OpcUaNode* first = top("1");
    OpcUaNode* second = newNode("2");
    OpcUaNode* third = newNode("3");
    third->next = newNode("4");
    m_list.addnextNode(first, second);
    m_list.addnextNode(first, third);
    EXPECT_EQ(first->next, second);
    EXPECT_EQ(second->next, third);
    EXPECT_NE(third->next, nullptr) << "the appended record's own next stays";
}

TEST_F(NodeList, SearchFromNullLeavesTheResultAlone) {
    OpcUaNode record = makeNode("x");
    OpcUaNode* found = &record;
    m_list.findNode("x", nullptr, &found);
    m_list.findNode(&record, nullptr, &found);
    EXPECT_EQ(found, &record);
}

TEST_F(NodeList, SearchWithoutMatchLeavesTheResultAlone) {
    top("a");
    OpcUaNode record = makeNode("x");
    OpcUaNode* found = &record;
    m_list.findNode("x", m_top, &found);
    EXPECT_EQ(found, &record);
}

TEST_F(NodeList, FindsBesideAndBelow) {
    OpcUaNode* first = top("ns=1;s=A");
    OpcUaNode* second = top("ns=1;s=B");
    OpcUaNode* child = below(first, "ns=1;s=C");
    OpcUaNode* grandchild = below(child, "ns=1;s=D");
    EXPECT_EQ(find("ns=1;s=A"), first);
    EXPECT_EQ(find("ns=1;s=B"), second);
    EXPECT_EQ(find("ns=1;s=C"), child);
    EXPECT_EQ(find("ns=1;s=D"), grandchild);
    EXPECT_EQ(find("ns=1;s=E"), nullptr);
}

TEST_F(NodeList, KeyMatchesTheBeginningOfALongerText) {
    OpcUaNode* tank = top("ns=1;s=Tank1");
    EXPECT_EQ(find("ns=1;s=Tank"), tank);
    EXPECT_EQ(find("ns=1;s=Tank1"), tank);
    EXPECT_EQ(find("ns=1;s=Tank10"), nullptr);
    EXPECT_EQ(find("s=Tank1"), nullptr) << "the beginning, not any part";
}

TEST_F(NodeList, EmptyKeyMatchesTheFirstRecord) {
    OpcUaNode* first = top("a");
    top("b");
    EXPECT_EQ(find(""), first);
}

TEST_F(NodeList, AnEarlierPrefixMatchHidesALaterExactOne) {
    OpcUaNode* longer = top("ns=1;s=Tank10");
    top("ns=1;s=Tank1");
    EXPECT_EQ(find("ns=1;s=Tank1"), longer);
}

TEST_F(NodeList, MatchEndsTheSearchOfItsLevelAndBelow) {
    OpcUaNode* first = top("x1");
    below(first, "x2");
    top("x3");
    EXPECT_EQ(find("x"), first);
}

TEST_F(NodeList, LaterSiblingOfTheParentWinsOverAMatchBelow) {
    OpcUaNode* parent = top("p");
    below(parent, "x1");
    OpcUaNode* later = top("x2");
    EXPECT_EQ(find("x"), later);
}

TEST_F(NodeList, MatchBelowStandsWhenNothingLaterMatches) {
    OpcUaNode* parent = top("p");
    OpcUaNode* match = below(parent, "x1");
    below(parent, "x2");
    OpcUaNode* later = top("q");
    below(later, "y");
    EXPECT_EQ(find("x"), match);
}

TEST_F(NodeList, LastMatchOfSeveralSubtreesWins) {
    OpcUaNode* first = top("p");
    OpcUaNode* second = top("q");
    OpcUaNode* third = top("r");
    OpcUaNode* deep = below(first, "p1");
    below(deep, "x1");
    below(first, "x2");
    OpcUaNode* last = below(below(second, "q1"), "x3");
    below(third, "r1");
    EXPECT_EQ(find("x"), last);
}

TEST_F(NodeList, LastMatchWinsOnEveryLevel) {
    OpcUaNode* parent = top("p");
    OpcUaNode* inner = below(parent, "p1");
    below(inner, "x1");
    OpcUaNode* beside = below(parent, "x2");
    below(beside, "x3");
    below(parent, "x4");
    EXPECT_EQ(find("x"), beside) << "x2 overrides x1 and ends its level";
}

TEST_F(NodeList, TextThatFillsItsFieldIsCompared) {
    const std::string full(256, 'k');
    OpcUaNode* node = top(full);
    EXPECT_EQ(find(full), node);
    EXPECT_EQ(find(full.substr(0, 255)), node);
    OpcUaNode* found = nullptr;
    m_list.findNode((full + "k").c_str(), m_top, &found);
    EXPECT_EQ(found, nullptr);
    m_list.findNode(std::string(5000, 'k').c_str(), m_top, &found);
    EXPECT_EQ(found, nullptr);
}

TEST_F(NodeList, UnterminatedKeyRecordIsReadWithinItsField) {
    OpcUaNode* node = top(std::string(256, 'k'));
    OpcUaNode key = makeNode(std::string(256, 'k'));
    key.result = 0x6B6B6B6B;
    OpcUaNode* found = nullptr;
    m_list.findNode(&key, m_top, &found);
    EXPECT_EQ(found, node);
}

TEST_F(NodeList, SearchComparesNoOtherField) {
    OpcUaNode* node = top("ns=1;s=A");
    setField(node->displayName, "x");
    setField(node->browseName, "x");
    setField(node->locale, "x");
    EXPECT_EQ(find("x"), nullptr);
}

TEST_F(NodeList, KeyIsBytesNotCharacters) {
    OpcUaNode* node = top("ns=2;s=\xE9\x94\x85\xE7\x82\x89");
    EXPECT_EQ(find("ns=2;s=\xE9\x94"), node);
    EXPECT_EQ(find("NS=2"), nullptr);
}

using Freeing = NodeList;

TEST_F(Freeing, NullDoesNothing) {
    OpcUaNode* none = nullptr;
    m_list.deleteMemory(&none);
    EXPECT_EQ(none, nullptr);
}

TEST_F(Freeing, TakesSubtreesAndLaterSiblingsExactlyOnce) {
    OpcUaNode* first = top("1");
    OpcUaNode* second = top("2");
    top("3");
    below(below(first, "11"), "111");
    below(first, "12");
    below(below(second, "21"), "211");
    below(second->child, "212");
    const record_census::Quarantine quarantine;
    m_list.deleteMemory(&m_top);
    EXPECT_EQ(m_top, nullptr);
    EXPECT_EQ(quarantine.freedOnce(), 9);
    EXPECT_EQ(quarantine.freedAgain(), 0);
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(Freeing, LeavesEarlierSiblings) {
    OpcUaNode* first = top("1");
    top("2");
    top("3");
    m_list.deleteMemory(&first->next);
    EXPECT_EQ(first->next, nullptr);
    EXPECT_EQ(record_census::live(), 1);
}

TEST_F(Freeing, OfACallersChildrenLeavesTheCallersRecord) {
    OpcUaNode own = makeNode("own");
    OpcUaNode sibling = makeNode("sibling");
    own.next = &sibling;
    below(&own, "1");
    below(own.child, "11");
    below(&own, "2");
    m_list.deleteMemory(&own.child);
    EXPECT_EQ(own.child, nullptr);
    EXPECT_EQ(own.next, &sibling);
    EXPECT_EQ(fieldText(own.nodeId), "own");
    EXPECT_EQ(record_census::live(), 0);
}

namespace {

/// Runs `work` on a stack that is far too small to recurse over the records of the test.
void onSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void* argument) -> void* {
                      (*static_cast<const std::function<void()>*>(argument))();
                      return nullptr;
                  },
                  const_cast<std::function<void()>*>(&work)),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

enum class Link { Next, Child };

OpcUaNode* makeRow(int count, Link link) {
    OpcUaNode* first = nullptr;
    for (int i = 0; i < count; ++i) {
        OpcUaNode* node = newNode("ns=2;i=" + std::to_string(i));
        (link == Link::Next ? node->next : node->child) = first;
        first = node;
    }
    return first;
}

} // namespace

TEST_F(Freeing, OfAMillionSiblingsNeedsNoStack) {
    m_top = makeRow(1000000, Link::Next);
    ASSERT_EQ(record_census::live(), 1000000);
    onSmallStack([this] { m_list.deleteMemory(&m_top); });
    EXPECT_EQ(m_top, nullptr);
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(Freeing, OfADeepChainNeedsNoStack) {
    m_top = makeRow(100000, Link::Child);
    const record_census::Quarantine quarantine;
    onSmallStack([this] { m_list.deleteMemory(&m_top); });
    EXPECT_EQ(m_top, nullptr);
    EXPECT_EQ(quarantine.freedOnce(), 100000);
    EXPECT_EQ(quarantine.freedAgain(), 0);
}

TEST_F(Freeing, OfADeepChainOfRowsNeedsNoStack) {
    for (int i = 0; i < 20000; ++i) {
        OpcUaNode* level = makeRow(3, Link::Next);
        level->next->child = m_top;
        m_top = level;
    }
    const record_census::Quarantine quarantine;
    onSmallStack([this] { m_list.deleteMemory(&m_top); });
    EXPECT_EQ(quarantine.freedOnce(), 60000);
    EXPECT_EQ(quarantine.freedAgain(), 0);
}

TEST_F(NodeList, SearchOfADeepChainNeedsNoStack) {
    m_top = makeRow(100000, Link::Child);
    OpcUaNode* found = nullptr;
    onSmallStack([this, &found] { m_list.findNode("ns=2;i=0", m_top, &found); });
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(fieldText(found->nodeId), "ns=2;i=0");
}
