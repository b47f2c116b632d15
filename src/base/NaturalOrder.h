#pragma once

#include <QCollator>
#include <QList>

#include <algorithm>
#include <utility>
#include <vector>

namespace Korvane {

/// The order in which file managers show names: case-insensitive, by the user's locale, with runs
/// of digits compared by value, so that file2 precedes file10.
class NaturalOrder final
{
public:
    NaturalOrder();

    /// Sorts \p nodes (anything with `name` and `isDirectory`) with folders before files. The sort
    /// key of each name is computed once, so that thousands of entries are sorted in milliseconds.
    template <typename Node> void sortFoldersFirst(QList<Node> &nodes) const;

private:
    QCollator m_collator;
};

template <typename Node> void NaturalOrder::sortFoldersFirst(QList<Node> &nodes) const
{
    struct Keyed
    {
        QCollatorSortKey key;
        qsizetype index;
    };
    std::vector<Keyed> order;
    order.reserve(static_cast<std::size_t>(nodes.size()));
    for (qsizetype i = 0; i < nodes.size(); ++i)
        order.push_back({m_collator.sortKey(nodes[i].name), i});
    std::stable_sort(order.begin(), order.end(), [&nodes](const Keyed &a, const Keyed &b) {
        if (nodes[a.index].isDirectory != nodes[b.index].isDirectory)
            return nodes[a.index].isDirectory;
        return a.key.compare(b.key) < 0;
    });
    QList<Node> sorted;
    sorted.reserve(nodes.size());
    for (const Keyed &entry : order)
        sorted.append(std::move(nodes[entry.index]));
    nodes = std::move(sorted);
}

} // namespace Korvane
