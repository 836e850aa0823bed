/// @file
/// BList.h — the library's doubly linked list of values, addressed by positions.
///
/// A position (`__POSITION*`) is the address of one node (`BListNode<T>`); it stays valid until
/// that node is removed, whatever else is inserted or removed. Callers walk a list by taking
/// GetHeadPosition() and following each node's `next`, reading or changing `value` in place.
///
/// Memory: the list owns one heap node per element, each holding the list's own copy of the element
/// (made by T's assignment); a node is freed as soon as it is removed. The caller's elements are
/// never stored or changed.
///
/// Invariant: m_head and m_tail are both null exactly when m_count is 0; the head's prev and the
/// tail's next are null; following next from the head visits m_count nodes and ends at the tail.
/// Every node carries a number taken from m_nextId, which is never 0 and never goes back (RemoveAll
/// does not reset it; after 0xFFFFFFFF comes 1).
///
/// Copying: a list cannot be copied; as a serialisable object it packs only its tagged list, not
/// its elements (Set and Get are inherited unchanged).
#pragma once

#include "base/BAssert.h"
#include "base/BMetaDataClass.h"
#include "base/ListLinks.h"
#include "base/Position.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

/// One element of a BList; its address is the element's position.
template <class T> struct BListNode {
    BListNode* prev;  ///< the node before; null at the head
    BListNode* next;  ///< the node after; null at the tail
    std::uint32_t id; ///< the node's number within its list, never 0
    T value;          ///< the list's own copy of the element
};

// A broken precondition on the object itself is checked as "this", which compilers flag as always
// true in well-defined code; the library keeps the check (see BAssert.h), so the warning is muted.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wundefined-bool-conversion"
#pragma clang diagnostic ignored "-Wtautological-undefined-compare"
#elif defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnonnull-compare"
#endif

/// The library's doubly linked list of values, addressed by positions (see BList.h).
template <class T> class BList : public BMetaDataClass {
public:
    /// The node type; a position is the address of one.
    using Node = BListNode<T>;

    /// An empty list whose first node will be numbered 1.
    BList() : m_head(nullptr), m_tail(nullptr), m_count(0), m_nextId(1) { B_ASSERT(this); }
    /// Destroys every element; the base part goes afterwards.
    ~BList() { RemoveAll(); }
    BList(const BList&) = delete;
    BList& operator=(const BList&) = delete;

    /// Adds a copy of elem in front of the head; returns its position.
    __POSITION* AddHead(T& elem);
    /// Adds a copy of elem after the tail; returns its position.
    __POSITION* AddTail(T& elem);
    /// Adds a copy of elem directly before pos; a null pos means the front, not the end.
    __POSITION* InsertBefore(__POSITION* pos, T& elem);
    /// Removes the node at pos; false (and no change) for a null pos. pos must belong to this list.
    bool RemoveAt(__POSITION* pos);
    /// Removes the first node; false on an empty list.
    bool RemoveHead();
    /// Removes the last node; false on an empty list.
    bool RemoveTail();
    /// Removes every node; the node numbering carries on where it was.
    void RemoveAll();
    /// The tail's element, in place; the list must not be empty.
    T& GetTail();
    /// The head's position; null for an empty list.
    __POSITION* GetHeadPosition() const;
    /// Number of elements.
    std::uint32_t GetCount() const;

protected:
    /// A new unlinked node holding a copy of elem and the next number; does not touch the chain.
    Node* MakeNode(T& elem);

    /// Reorders the list into a stable order (order[r] is the index from the head of the element of
    /// rank r) with the result of repeatedly moving the smallest remaining element in front of the
    /// current one: an element keeps its node and number exactly when every element before it
    /// sorts before it. Every other element is moved: it takes the next number, in sorted order, as
    /// a new node would, and renew(index, value) makes its value what the moved copy holds. Its
    /// storage is reused, so a sort allocates nothing per element.
    /// nodes are the list's nodes from head to tail.
    template <class Renew>
    void ApplyOrder(const std::vector<Node*>& nodes, const std::vector<std::uint32_t>& order,
                    Renew renew);

    /// The node a position stands for.
    static Node* NodeAt(__POSITION* pos) { return reinterpret_cast<Node*>(pos); }
    /// The position of a node.
    static __POSITION* PositionOf(Node* node) { return reinterpret_cast<__POSITION*>(node); }

    Node* m_head;           ///< the first node; null when the list is empty
    Node* m_tail;           ///< the last node; null when the list is empty
    std::uint32_t m_count;  ///< number of nodes
    std::uint32_t m_nextId; ///< the number the next node gets; never 0

private:
    friend struct BListTestPeer;
};

template <class T> BListNode<T>* BList<T>::MakeNode(T& elem) {
    B_ASSERT(this);
    std::unique_ptr<Node> tmp(new (std::nothrow) Node{nullptr, nullptr, 0, T()});
    B_ASSERT(tmp);
    tmp->value = elem;
    tmp->id = m_nextId;
    m_nextId = m_nextId == 0xFFFFFFFFu ? 1u : m_nextId + 1u;
    return tmp.release();
}

template <class T> __POSITION* BList<T>::AddHead(T& elem) {
    B_ASSERT(this);
    Node* node = MakeNode(elem);
    B_ASSERT(node);
    ListLinks::LinkHead(m_head, m_tail, m_count, node);
    return PositionOf(node);
}

template <class T> __POSITION* BList<T>::AddTail(T& elem) {
    B_ASSERT(this);
    Node* node = MakeNode(elem);
    B_ASSERT(node);
    ListLinks::LinkTail(m_head, m_tail, m_count, node);
    return PositionOf(node);
}

template <class T> __POSITION* BList<T>::InsertBefore(__POSITION* pos, T& elem) {
    B_ASSERT(this);
    Node* at = NodeAt(pos);
    if (m_count == 0 || !at || at == m_head)
        return AddHead(elem);
    Node* node = MakeNode(elem);
    node->prev = at->prev;
    node->next = at;
    if (at->prev)
        at->prev->next = node;
    at->prev = node;
    ++m_count;
    return PositionOf(node);
}

template <class T> bool BList<T>::RemoveAt(__POSITION* pos) {
    B_ASSERT(this);
    return ListLinks::RemoveAt(m_head, m_tail, m_count, NodeAt(pos));
}

template <class T> bool BList<T>::RemoveHead() {
    B_ASSERT(this);
    return ListLinks::RemoveHead(m_head, m_tail, m_count);
}

template <class T> bool BList<T>::RemoveTail() {
    B_ASSERT(this);
    return ListLinks::RemoveTail(m_head, m_tail, m_count);
}

template <class T> void BList<T>::RemoveAll() {
    B_ASSERT(this);
    ListLinks::RemoveAll(m_head, m_tail, m_count);
}

template <class T> T& BList<T>::GetTail() {
    B_ASSERT(this);
    Node* node = m_tail;
    B_ASSERT(node);
    return node->value;
}

template <class T> __POSITION* BList<T>::GetHeadPosition() const {
    B_ASSERT(this);
    return PositionOf(m_head);
}

template <class T> std::uint32_t BList<T>::GetCount() const {
    B_ASSERT(this);
    return m_count;
}

template <class T>
template <class Renew>
void BList<T>::ApplyOrder(const std::vector<Node*>& nodes, const std::vector<std::uint32_t>& order,
                          Renew renew) {
    const std::size_t n = order.size();
    B_ASSERT(nodes.size() == n && n == m_count);

    // The selection leaves an element in its node only when nothing before it in the list is
    // larger, that is when every element of a higher rank comes later in the list: its index is
    // below the smallest index of the ranks above it.
    std::vector<bool> keptAt(n); // by rank
    for (std::size_t r = n, lowest = n; r-- > 0;) {
        keptAt[r] = order[r] < lowest;
        lowest = std::min<std::size_t>(lowest, order[r]);
    }

    // Moved elements are renewed in list order, which walks memory as the list was built; then one
    // pass in sorted order gives them their numbers and relinks the chain.
    std::vector<bool> moved(n); // by index
    for (std::size_t r = 0; r < n; ++r)
        moved[order[r]] = !keptAt[r];
    // A list of many elements is spread over memory: the nodes a few steps ahead are fetched
    // while the present one is worked on.
    constexpr std::size_t kAhead = 8;
    for (std::size_t i = 0; i < n; ++i) {
        if (i + kAhead < n)
            __builtin_prefetch(nodes[i + kAhead]);
        if (moved[i])
            renew(i, nodes[i]->value);
    }
    for (std::size_t r = 0; r < n; ++r) {
        if (r + kAhead < n)
            __builtin_prefetch(nodes[order[r + kAhead]], 1);
        Node* node = nodes[order[r]];
        if (!keptAt[r]) {
            node->id = m_nextId;
            m_nextId = m_nextId == 0xFFFFFFFFu ? 1u : m_nextId + 1u;
        }
        node->prev = r == 0 ? nullptr : nodes[order[r - 1]];
        node->next = r + 1 == n ? nullptr : nodes[order[r + 1]];
    }
    if (n != 0) {
        m_head = nodes[order[0]];
        m_tail = nodes[order[n - 1]];
    }
}

#if defined(__clang__)
#pragma clang diagnostic pop
#elif defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
