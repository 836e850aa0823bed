/// @file
/// LinkedList.h — a doubly linked list holding its elements by value, one allocated node each,
/// addressed through opaque positions (`__POSITION*`, the address of a node).
/// Memory: the list owns its nodes and the elements in them; an element is destroyed and its node
/// released as soon as it is removed. Positions of other nodes never move.
/// Invariant: m_count is the number of nodes reachable from m_head; m_head and m_tail are both null
/// or both set; the head's prev and the tail's next are null.
/// Copying: lists are not copyable (no copy constructor, no assignment); copy elements one by one.
/// Requirements on T: default construction giving an empty element, assignment from another
/// element that copies, and a destructor that releases what the element owns.
#pragma once

#include "base/BAssert.h"
#include "base/ListLinks.h"
#include "base/Position.h"

#include <memory>
#include <new>

/// One node of a LinkedList. The field order is part of the layout callers rely on: a caller walks
/// a list with `reinterpret_cast<LinkedListNode<T>*>(pos)->next`.
template <class T> struct LinkedListNode {
    LinkedListNode* prev; ///< the node before; null at the head
    LinkedListNode* next; ///< the node after; null at the tail
    T value;              ///< the list's own copy of the element
};

namespace LinkedListDetail {
/// Kept out of line so that the check of `this` is neither folded away nor warned about wherever
/// the template is instantiated.
bool IsObject(const void* self);
} // namespace LinkedListDetail

/// B_ASSERT(this) for the list templates, with the check made out of line.
#define LINKEDLIST_CHECK_THIS()                                                                    \
    (::LinkedListDetail::IsObject(this)                                                            \
         ? static_cast<void>(0)                                                                    \
         : ::BAssertDetail::Fail(__func__, __FILE__, __LINE__, "this"))

/// A doubly linked list holding its elements by value (see LinkedList.h).
template <class T> class LinkedList {
public:
    /// The node type; a position is the address of one.
    using Node = LinkedListNode<T>;

    /// An empty list.
    LinkedList() : m_head(nullptr), m_tail(nullptr), m_count(0) { LINKEDLIST_CHECK_THIS(); }
    /// Removes every node.
    ~LinkedList() { RemoveAll(); }
    LinkedList(const LinkedList&) = delete;
    LinkedList& operator=(const LinkedList&) = delete;

    /// Position of the head; null when the list is empty.
    __POSITION* GetHeadPosition() const {
        LINKEDLIST_CHECK_THIS();
        return ToPosition(m_head);
    }
    /// Element at pos; pos moves on to the next node (null after the tail). pos must not be null.
    T& GetNext(__POSITION*& pos) {
        Node* node = ToNode(pos);
        B_ASSERT(node);
        pos = ToPosition(node->next);
        return node->value;
    }
    /// GetNext of a constant list.
    const T& GetNext(__POSITION*& pos) const {
        Node* node = ToNode(pos);
        B_ASSERT(node);
        pos = ToPosition(node->next);
        return node->value;
    }
    /// Element at pos; pos must not be null. Does not move pos.
    T& GetAt(__POSITION* pos) {
        Node* node = ToNode(pos);
        B_ASSERT(node);
        return node->value;
    }
    /// GetAt of a constant list.
    const T& GetAt(__POSITION* pos) const {
        Node* node = ToNode(pos);
        B_ASSERT(node);
        return node->value;
    }
    /// Number of elements.
    unsigned int GetCount() const {
        LINKEDLIST_CHECK_THIS();
        return m_count;
    }
    /// Count of the list at list, which must exist: no list stops exactly as GetCount reached
    /// through a null list would, without the undefined call.
    static unsigned int CountOf(const LinkedList* list) {
        if (list == nullptr)
            ::BAssertDetail::Fail("GetCount", __FILE__, __LINE__, "this");
        return list->GetCount();
    }
    /// The tail element; the list must not be empty.
    T& GetTail() {
        LINKEDLIST_CHECK_THIS();
        Node* node = m_tail;
        B_ASSERT(node);
        return node->value;
    }

    /// Appends a copy of value; returns the new node's position. Other positions stay valid.
    __POSITION* AddTail(const T& value) {
        LINKEDLIST_CHECK_THIS();
        Node* node = MakeNode(value);
        B_ASSERT(node);
        return LinkAtTail(node);
    }

    /// Removes the node at pos, which must belong to this list. Null: false, nothing changes.
    bool RemoveAt(__POSITION* pos) {
        LINKEDLIST_CHECK_THIS();
        return ListLinks::RemoveAt(m_head, m_tail, m_count, ToNode(pos));
    }
    /// Removes the head node; false when the list is empty.
    bool RemoveHead() {
        LINKEDLIST_CHECK_THIS();
        return ListLinks::RemoveHead(m_head, m_tail, m_count);
    }
    /// Removes the tail node; false when the list is empty.
    bool RemoveTail() {
        LINKEDLIST_CHECK_THIS();
        return ListLinks::RemoveTail(m_head, m_tail, m_count);
    }
    /// Removes every node; every position of the list becomes invalid.
    void RemoveAll() {
        LINKEDLIST_CHECK_THIS();
        ListLinks::RemoveAll(m_head, m_tail, m_count);
    }

    /// A new unlinked node holding a copy of value. Does not add it to the list.
    Node* MakeNode(const T& value) {
        LINKEDLIST_CHECK_THIS();
        Node* tmp = new (std::nothrow) Node();
        B_ASSERT(tmp);
        std::unique_ptr<Node> guard(tmp);
        tmp->prev = nullptr;
        tmp->next = nullptr;
        tmp->value = value;
        return guard.release();
    }

protected:
    /// Appends a default element, made in its node rather than copied there; returns it.
    T& AddTailDefault() {
        LINKEDLIST_CHECK_THIS();
        Node* node = new (std::nothrow) Node();
        B_ASSERT(node);
        LinkAtTail(node);
        return node->value;
    }
    /// Links an unlinked node after the tail.
    __POSITION* LinkAtTail(Node* node) {
        ListLinks::LinkTail(m_head, m_tail, m_count, node);
        return ToPosition(node);
    }

    /// The node a position stands for.
    static Node* ToNode(__POSITION* pos) { return reinterpret_cast<Node*>(pos); }
    /// The position of a node.
    static __POSITION* ToPosition(Node* node) { return reinterpret_cast<__POSITION*>(node); }

    Node* m_head;         ///< the first node; null when the list is empty
    Node* m_tail;         ///< the last node; null when the list is empty
    unsigned int m_count; ///< number of nodes
};

#undef LINKEDLIST_CHECK_THIS
