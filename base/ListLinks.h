/// @file
/// ListLinks.h — the chain steps both list templates (BList, LinkedList) share: linking a node at
/// either end or before another, and unlinking and freeing nodes.
///
/// Free function templates over any node type with `prev` and `next`, working on the list's own
/// head, tail and count, so that each list keeps its layout and its checks of itself. Nodes are
/// allocated by the list and freed here with delete; no step allocates.
#pragma once

namespace ListLinks {

/// Links an unlinked node after the tail.
template <class Node, class Count>
void LinkTail(Node*& head, Node*& tail, Count& count, Node* node) {
    ++count;
    if (tail) {
        node->prev = tail;
        tail->next = node;
    } else {
        head = node;
    }
    tail = node;
}

/// Links an unlinked node in front of the head.
template <class Node, class Count>
void LinkHead(Node*& head, Node*& tail, Count& count, Node* node) {
    ++count;
    if (head) {
        node->next = head;
        head->prev = node;
    } else {
        tail = node;
    }
    head = node;
}

/// Unlinks and frees the head; false on an empty chain.
template <class Node, class Count> bool RemoveHead(Node*& head, Node*& tail, Count& count) {
    Node* old = head;
    if (!old)
        return false;
    head = old->next;
    if (head) {
        head->prev = nullptr;
        --count;
    } else {
        tail = nullptr;
        count = 0;
    }
    delete old;
    return true;
}

/// Unlinks and frees the tail; false on an empty chain.
template <class Node, class Count> bool RemoveTail(Node*& head, Node*& tail, Count& count) {
    Node* old = tail;
    if (!old)
        return false;
    tail = old->prev;
    if (tail) {
        tail->next = nullptr;
        --count;
    } else {
        head = nullptr;
        count = 0;
    }
    delete old;
    return true;
}

/// Unlinks and frees node, which must be in the chain; false, changing nothing, for null.
template <class Node, class Count>
bool RemoveAt(Node*& head, Node*& tail, Count& count, Node* node) {
    if (!node)
        return false;
    if (node == head)
        return RemoveHead(head, tail, count);
    if (node == tail)
        return RemoveTail(head, tail, count);
    node->prev->next = node->next;
    node->next->prev = node->prev;
    delete node;
    --count;
    return true;
}

/// Frees every node and empties the chain.
template <class Node, class Count> void RemoveAll(Node*& head, Node*& tail, Count& count) {
    for (Node* node = head; node;) {
        Node* next = node->next;
        delete node;
        node = next;
    }
    head = nullptr;
    tail = nullptr;
    count = 0;
}

} // namespace ListLinks
