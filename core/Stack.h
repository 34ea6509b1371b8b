// Stack with a cursor: Top and repeated Peek walk downward without change;
// Pop cuts the stack back to the cursor's level in one step.
#ifndef SORN_CORE_STACK_H
#define SORN_CORE_STACK_H

template <class T>
class Stack {
 public:
  explicit Stack(int owns = 1) : owns_(owns), top_(nullptr), cursor_(nullptr) {}
  virtual ~Stack() {
    if (top_ != nullptr) Dump();
  }
  Stack(const Stack&) = delete;
  Stack& operator=(const Stack&) = delete;

  virtual void Push(T* element) {
    top_ = new Node{top_, element};
    cursor_ = top_;
  }
  // Removes every node above the cursor (deleting owned elements), then the
  // cursor's own node, whose element is returned undeleted.
  virtual T* Pop() {
    if (cursor_ == nullptr) cursor_ = top_;
    if (cursor_ == nullptr) return nullptr;
    while (top_ != cursor_) {
      Node* node = top_;
      top_ = node->next;
      if (owns_) delete node->element;
      delete node;
    }
    Node* node = top_;
    top_ = node->next;
    T* element = node->element;
    delete node;
    cursor_ = top_;
    return element;
  }
  virtual T* Top() {
    cursor_ = top_;
    return cursor_ ? cursor_->element : nullptr;
  }
  virtual T* Peek() {
    if (cursor_) cursor_ = cursor_->next;
    return cursor_ ? cursor_->element : nullptr;
  }
  virtual void Dump() {
    while (top_ != nullptr) {
      Node* node = top_;
      top_ = node->next;
      if (owns_) delete node->element;
      delete node;
    }
    cursor_ = nullptr;
  }
  bool empty() const { return top_ == nullptr; }

 private:
  struct Node {
    Node* next;
    T* element;
  };
  int owns_;
  Node* top_;
  Node* cursor_;
};

#endif
