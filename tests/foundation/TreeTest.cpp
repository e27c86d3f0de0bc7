// TKTree: counted nodes, parent links, cycle refusal, depth-first visits.
#include <string>

#include "foundation/TKString.h"
#include "foundation/TKTree.h"
#include "support/TestSupport.h"

using TextTree = TKTree<TKString>;

TEST(Tree, BuildVisitAndDepth) {
    TKRefPtr<TextTree> root(new TextTree("root"), true);
    TextTree* a = root->AddChild("a");
    TextTree* b = root->AddChild("b");
    TextTree* a1 = a->AddChild("a1");
    a->AddChild("a2");
    b->AddChild("b1");
    EXPECT_EQ(root->ChildCount(), 2);
    EXPECT_EQ(a1->Parent(), a);
    EXPECT_EQ(a1->Depth(), 2);
    EXPECT_EQ(root->IndexOf(b), 1);
    std::string order;
    root->Visit([&order](TextTree& node) { return order += node.Value().CString(), order += ' ', true; });
    EXPECT_EQ(order, "root a a1 a2 b b1 ");
    EXPECT_EQ(root->SubtreeSize(), 6);
    int seen = 0;
    EXPECT_FALSE(root->Visit([&seen](TextTree&) { return ++seen < 3; }));
    EXPECT_EQ(seen, 3);
}

TEST(Tree, SubtreesOutliveTheirParentAndCyclesAreRefused) {
    TKRefPtr<TextTree> keep;
    {
        TKRefPtr<TextTree> root(new TextTree("root"), true);
        TextTree* child = root->AddChild("child");
        child->AddChild("grandchild");
        keep.Reset(child, false);
        EXPECT_TKERROR(child->InsertChild(0, root.Get(), false), ArgErr);   // its ancestor
        EXPECT_TKERROR(child->InsertChild(0, child, false), ArgErr);        // itself
        EXPECT_TKERROR(root->InsertChild(0, child, false), ArgErr);         // already placed
        EXPECT_TKERROR(root->InsertChild(0, nullptr, false), ArgErr);
        EXPECT_TKERROR(root->InsertChild(5, new TextTree("x"), true), IndexError);
    }
    EXPECT_EQ(keep->Parent(), nullptr);
    EXPECT_EQ(keep->RefCount(), 1);
    EXPECT_EQ(keep->SubtreeSize(), 2);
    TKRefPtr<TextTree> moved(keep->Child(0), false);
    keep->RemoveChild(0);
    EXPECT_EQ(moved->Parent(), nullptr);
    EXPECT_EQ(keep->ChildCount(), 0);
    keep->InsertChild(0, moved.Get(), false);
    EXPECT_EQ(moved->Parent(), keep.Get());
    EXPECT_TKERROR(keep->RemoveChild(1), IndexError);
}
