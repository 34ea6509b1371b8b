// List and SearchableList: a doubly linked list with a cursor that callers
// use as state. Owning lists delete their elements in Dump and the
// destructor only; Remove and RemoveAll never do.
#ifndef SORN_CORE_LIST_H
#define SORN_CORE_LIST_H

#include "core/Keys.h"

enum ListPosition { ListHead = 0, ListCurrent = 1, ListTail = 2 };

template <class T>
class List {
 public:
  explicit List(int owns = 1) : owns_(owns), entries_(0), first_(nullptr), current_(nullptr), last_(nullptr) {}
  virtual ~List() {
    if (first_ != nullptr) Dump();
  }
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  // Inserts at the head, before the cursor, or at the tail; the new node
  // becomes the cursor.
  virtual void Insert(T* element, ListPosition position = ListTail) {
    entries_++;
    Node* node = new Node{nullptr, nullptr, element};
    if (first_ == nullptr) {
      first_ = last_ = node;
    } else if (position == ListHead || (position == ListCurrent && current_ == first_)) {
      node->next = first_;
      first_->previous = node;
      first_ = node;
    } else if (position == ListTail || current_ == nullptr) {
      node->previous = last_;
      last_->next = node;
      last_ = node;
    } else {
      node->previous = current_->previous;
      node->next = current_;
      current_->previous->next = node;
      current_->previous = node;
    }
    current_ = node;
  }

  // Unlinks and returns an element without deleting it. The count drops
  // first, so removing from an empty list leaves it at -1.
  virtual T* Remove(ListPosition position = ListCurrent) {
    entries_--;
    if (first_ == nullptr) return nullptr;
    Node* node;
    if (position == ListHead) {
      node = first_;
    } else if (position == ListTail) {
      node = last_;
    } else {
      node = current_;
      if (node == nullptr) {
        entries_++;
        return nullptr;
      }
    }
    Node* next = node->next;
    Node* previous = node->previous;
    if (previous) previous->next = next; else first_ = next;
    if (next) next->previous = previous; else last_ = previous;
    if (position == ListCurrent) {
      current_ = next;
    } else if (current_ == node) {
      current_ = position == ListHead ? first_ : last_;
    }
    T* element = node->element;
    delete node;
    return element;
  }

  virtual int Entries() const { return entries_; }
  int empty() const { return first_ == nullptr; }

  virtual T* Seek(T* element) {
    for (current_ = first_; current_ != nullptr; current_ = current_->next)
      if (current_->element == element) return element;
    return nullptr;
  }
  virtual T* First() { current_ = first_; return current_ ? current_->element : nullptr; }
  virtual T* Last() { current_ = last_; return current_ ? current_->element : nullptr; }
  virtual T* Current() { return current_ ? current_->element : nullptr; }
  virtual T* Next() {
    if (current_) current_ = current_->next;
    return current_ ? current_->element : nullptr;
  }
  virtual T* Previous() {
    if (current_) current_ = current_->previous;
    return current_ ? current_->element : nullptr;
  }
  virtual void Dump() { Clear(owns_); }
  virtual void RemoveAll() { Clear(0); }

 protected:
  struct Node {
    Node* previous;
    Node* next;
    T* element;
  };
  void SetCursor(Node* node) { current_ = node; }
  Node* head() const { return first_; }

 private:
  void Clear(int destroy) {
    Node* node = first_;
    first_ = current_ = last_ = nullptr;
    entries_ = 0;
    while (node != nullptr) {
      Node* next = node->next;
      if (destroy) delete node->element;
      delete node;
      node = next;
    }
  }

  int owns_;
  int entries_;
  Node* first_;
  Node* current_;
  Node* last_;
};

// A list searched by name. Every instance compares text keys with
// CompareKeys against ElementName(element), which each element type supplies.
template <class T, class K = const char*>
class SearchableList : public List<T> {
 public:
  explicit SearchableList(int owns = 1) : List<T>(owns) {}

  // Leaves the cursor on the first match, or nowhere when there is none.
  virtual T* Find(K key) {
    typename List<T>::Node* node = this->head();
    for (; node != nullptr; node = node->next)
      if (Compare(key, node->element) == 0) break;
    this->SetCursor(node);
    return node ? node->element : nullptr;
  }
  virtual int Compare(K key, T* element) { return CompareKeys(key, ElementName(element)); }
};

#endif
