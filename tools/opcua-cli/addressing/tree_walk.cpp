#include <cstddef>
#include <deque>
#include <string>
#include <unordered_set>
#include <utility>

#include "addressing/browse_tree.h"

namespace opcua_cli {
namespace {

class Walker {
public:
    Walker(BrowseTree& tree, int depth, std::size_t maxNodes)
        : m_tree(tree), m_depth(depth), m_maxNodes(maxNodes) {}

    Walk run(OpcUaNode* start, const WalkWatcher& watcher) {
        meet(start, 0, 0);
        try {
            for (; !m_pending.empty() && m_walk.complete; m_pending.pop_front())
                if (watcher(m_walk, m_pending.front().index))
                    browse(m_pending.front());
                else
                    m_walk.complete = false;
        } catch (const Failure& failure) {
            m_walk.end = failure;
        }
        return std::move(m_walk);
    }

private:
    struct Pending {
        OpcUaNode* record;
        std::size_t index;
    };

    std::size_t meet(OpcUaNode* record, std::size_t parent, int depth) {
        const std::size_t index = m_walk.nodes.size();
        WalkedNode walked{describe(*record), parent, depth};
        // A beginning of an id may be that of many.
        walked.repeated = walked.node.nodeIdComplete && !m_met.insert(walked.node.nodeId).second;
        if (!walked.repeated && depth < m_depth) {
            if (walked.node.nodeIdComplete)
                m_pending.push_back({record, index});
            else if (!walked.node.isVariable())
                walked.browseProblem = Problem{"its id is too long for this program"};
        }
        m_walk.nodes.push_back(std::move(walked));
        return index;
    }

    void browse(const Pending& pending) {
        BrowseTree::Level level = m_tree.expand(pending.record);
        m_walk.nodes[pending.index].browseProblem = std::move(level.problem);
        const int depth = m_walk.nodes[pending.index].depth + 1;
        for (OpcUaNode* child : level.children) {
            if (m_walk.nodes.size() > m_maxNodes) {
                m_walk.complete = false;
                return;
            }
            const std::size_t index = meet(child, pending.index, depth);
            m_walk.nodes[pending.index].children.push_back(index);
        }
    }

    BrowseTree& m_tree;
    int m_depth;
    std::size_t m_maxNodes;
    Walk m_walk;
    std::deque<Pending> m_pending;
    std::unordered_set<std::string> m_met;
};

} // namespace

Walk walk(BrowseTree& tree, OpcUaNode* start, int depth, std::size_t maxNodes, const WalkWatcher& watcher) {
    return Walker(tree, depth, maxNodes).run(start, watcher);
}

Walk walk(BrowseTree& tree, OpcUaNode* start, int depth, std::size_t maxNodes, Progress& progress) {
    return walk(tree, start, depth, maxNodes, [&](const Walk& sofar, std::size_t) {
        progress.show(sofar.nodes.size());
        return true;
    });
}

} // namespace opcua_cli
