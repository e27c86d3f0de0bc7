// TKTree<T>: a counted tree node with a value. A node keeps its children by count and knows
// its parent without holding it, so a subtree handed out stays alive on its own and a parent
// that dies just leaves its children parentless.
#pragma once

#include <cstdint>
#include <utility>

#include "foundation/TKArray.h"
#include "foundation/TKError.h"
#include "foundation/TKObject.h"

template <class T>
class TKTree : public TKObject {
    TK_DECLARE_CLASS(TKTree, TKObject)
public:
    TKTree() = default;
    explicit TKTree(const T& value) : fValue(value) {}
    TKTree(const TKTree&) = delete;
    TKTree& operator=(const TKTree&) = delete;
    ~TKTree() override {
        for (int32_t i = 0; i < fChildren.Count(); ++i) fChildren.Get(i)->fParent = nullptr;
    }

    const T& Value() const { return fValue; }
    T& Value() { return fValue; }
    void SetValue(const T& value) { fValue = value; }

    TKTree* Parent() const { return fParent; }
    int32_t ChildCount() const { return fChildren.Count(); }
    // IndexError outside.
    TKTree* Child(int32_t index) const { return fChildren.Get(index).Get(); }
    int32_t IndexOf(const TKTree* child) const {
        for (int32_t i = 0; i < fChildren.Count(); ++i)
            if (fChildren.Get(i).Get() == child) return i;
        return -1;
    }

    // Adds a new node with the value as the last child and returns it (owned by this node).
    TKTree* AddChild(const T& value) {
        TKRefPtr<TKTree> child(new TKTree(value), true);
        return InsertChild(fChildren.Count(), child.Get(), false);
    }
    // Inserts a parentless node at index (0 to ChildCount()). owned: true takes over the
    // caller's count, false adds one. ArgErr for null, a node that has a parent, or this node
    // and its ancestors (a tree has no cycles); IndexError for a position outside.
    TKTree* InsertChild(int32_t index, TKTree* child, bool owned) {
        TKRefPtr<TKTree> held(child, owned);
        if (!child || child->fParent) TKThrow(ArgErr);
        for (const TKTree* node = this; node; node = node->fParent)
            if (node == child) TKThrow(ArgErr);
        fChildren.Insert(index, held);
        child->fParent = this;
        return child;
    }
    // Takes a child out; it lives on if someone else holds a count.
    void RemoveChild(int32_t index) {
        TKRefPtr<TKTree> child = fChildren.Get(index);
        child->fParent = nullptr;
        fChildren.Remove(index);
    }

    // Edges from the root down to this node.
    int32_t Depth() const {
        int32_t depth = 0;
        for (const TKTree* node = fParent; node; node = node->fParent) ++depth;
        return depth;
    }
    // Visits this node and its subtree depth-first, parents before children. The visitor
    // returns false to stop; Visit returns false if it was stopped. Iterative, so deep trees
    // do not exhaust the stack.
    template <class Visitor>
    bool Visit(Visitor&& visitor) {
        TKArray<TKTree*> pending;
        pending.Add(this);
        while (pending.Count() > 0) {
            TKTree* node = pending.Get(pending.Count() - 1);
            pending.Remove(pending.Count() - 1);
            if (!visitor(*node)) return false;
            for (int32_t i = node->ChildCount() - 1; i >= 0; --i) pending.Add(node->Child(i));
        }
        return true;
    }
    // Number of nodes in this subtree, itself included.
    int32_t SubtreeSize() {
        int32_t n = 0;
        Visit([&n](TKTree&) { return ++n, true; });
        return n;
    }

private:
    T fValue{};
    TKTree* fParent = nullptr;
    TKArray<TKRefPtr<TKTree>> fChildren;
};
