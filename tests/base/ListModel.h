// ListModel.h — list helpers for the tests: the nodes in order, and the sort as a plain selection.
#pragma once

#include "base/BList.h"
#include "base/Str.h"

#include <gtest/gtest.h>

#include <vector>

namespace listmodel {

// Each node's back link must name the node before it.
template <class List, class Node = typename List::Node> std::vector<Node*> Nodes(List& list) {
    std::vector<Node*> out;
    for (auto* node = reinterpret_cast<Node*>(list.GetHeadPosition()); node; node = node->next) {
        EXPECT_EQ(node->prev, out.empty() ? nullptr : out.back());
        out.push_back(node);
    }
    return out;
}

// The smallest remaining element by key (first of equal keys) is put in front of the current
// node as made by copy, and its node removed, until the current node is the smallest.
template <class List, class Key, class Copy> void SelectionSort(List& list, Key key, Copy copy) {
    for (auto* current = reinterpret_cast<typename List::Node*>(list.GetHeadPosition()); current;) {
        auto* best = current;
        for (auto* node = current->next; node; node = node->next)
            if (StrImplementation::STR_stricmp_ex(key(best->value), key(node->value)) > 0)
                best = node;
        if (best == current) {
            current = current->next;
            continue;
        }
        auto&& value = copy(best->value);
        list.InsertBefore(reinterpret_cast<__POSITION*>(current), value);
        list.RemoveAt(reinterpret_cast<__POSITION*>(best));
    }
}

} // namespace listmodel
