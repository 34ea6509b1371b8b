// SplayTree: a top-down splay tree (Sleator and Tarjan) keyed by the
// element's name (ElementName), compared without case. Duplicates are kept, the newest on
// top; Remove is a stub, elements leave only through Dump.
#ifndef SORN_CORE_SPLAYTREE_H
#define SORN_CORE_SPLAYTREE_H

#include <vector>

#include "core/Keys.h"

template <class T, class K = const char*>
class SplayTree {
 public:
  explicit SplayTree(int owns = 1) : owns_(owns), root_(nullptr), duplicates_(0) {}
  virtual ~SplayTree() {
    if (root_ != nullptr) Dump();
  }
  SplayTree(const SplayTree&) = delete;
  SplayTree& operator=(const SplayTree&) = delete;

  virtual void Insert(T* element) {
    Node* node = new Node{nullptr, nullptr, element};
    if (root_ == nullptr) {
      root_ = node;
      return;
    }
    K key = Key(element);
    Splay(key);
    int c = Compare(key, root_->element);
    if (c == 0) duplicates_ = 1;
    if (c >= 0) {
      node->right = root_->right;
      node->left = root_;
      root_->right = nullptr;
    } else {
      node->left = root_->left;
      node->right = root_;
      root_->left = nullptr;
    }
    root_ = node;
  }
  virtual int Remove(K) { return 0; }
  virtual T* Find(K key) {
    if (root_ == nullptr) return nullptr;
    Splay(key);
    return Compare(key, root_->element) == 0 ? root_->element : nullptr;
  }
  virtual void Dump() {
    Free(root_);
    root_ = nullptr;
    duplicates_ = 0;
  }
  // Non-zero once two elements with the same key were held. Which of them
  // a Find returns then depends on the tree's shape, that is on every
  // earlier Find.
  int duplicates() const { return duplicates_; }
  virtual K Key(T* element) { return ElementName(element); }
  virtual int Compare(K key, T* element) { return CompareKeys(key, Key(element)); }

  // Calls visit on each element in key order; used for listings.
  template <class F>
  void Walk(F visit) const { WalkNode(root_, visit); }

 private:
  struct Node {
    Node* left;
    Node* right;
    T* element;
  };

  void Splay(K key) {
    Node header{nullptr, nullptr, nullptr};
    Node* left = &header;
    Node* right = &header;
    Node* t = root_;
    for (;;) {
      int c = Compare(key, t->element);
      if (c < 0) {
        if (t->left == nullptr) break;
        if (Compare(key, t->left->element) < 0) {
          Node* y = t->left;  // rotate right
          t->left = y->right;
          y->right = t;
          t = y;
          if (t->left == nullptr) break;
        }
        right->left = t;  // link right
        right = t;
        t = t->left;
      } else if (c > 0) {
        if (t->right == nullptr) break;
        if (Compare(key, t->right->element) > 0) {
          Node* y = t->right;  // rotate left
          t->right = y->left;
          y->left = t;
          t = y;
          if (t->right == nullptr) break;
        }
        left->right = t;  // link left
        left = t;
        t = t->right;
      } else {
        break;
      }
    }
    left->right = t->left;
    right->left = t->right;
    t->left = header.right;
    t->right = header.left;
    root_ = t;
  }

  void Free(Node* node) {
    InOrder(node, [this](Node* n) {
      if (owns_) delete n->element;
      delete n;
    });
  }

  template <class F>
  static void WalkNode(Node* node, F& visit) {
    InOrder(node, [&visit](Node* n) { visit(n->element); });
  }

  // Visits the nodes in key order with a stack of its own, since a tree
  // filled in key order is a chain as long as it holds elements. The
  // visitor may delete the node it is given.
  template <class F>
  static void InOrder(Node* node, F visit) {
    std::vector<Node*> pending;
    while (node != nullptr || !pending.empty()) {
      if (node != nullptr) {
        pending.push_back(node);
        node = node->left;
        continue;
      }
      node = pending.back();
      pending.pop_back();
      Node* right = node->right;
      visit(node);
      node = right;
    }
  }

  int owns_;
  Node* root_;
  int duplicates_;
};

#endif
