// Singly linked lists of records that carry their own `next`, in any record of the shape {first, last_link}: appending
// and joining take constant time. last_link points to the link that the next record goes into: that of the last record,
// or `first` when the list is empty. An empty list points into itself, so it may not be moved by copying.
#ifndef LIBGLOBAL_CHAIN_HPP
#define LIBGLOBAL_CHAIN_HPP

namespace libglobal {

template <class List>
void make_empty(List &list) {
  list.first = nullptr;
  list.last_link = &list.first;
}

template <class List, class Record>
void link_last(List &list, Record *record) {
  record->next = nullptr;
  *list.last_link = record;
  list.last_link = &record->next;
}

// Unlinks the first record of a list that has one; its `next` is left as it was.
template <class List>
auto *take_first(List &list) {
  auto *const record = list.first;
  list.first = record->next;
  if (list.first == nullptr) {
    list.last_link = &list.first;
  }
  return record;
}

// Moves every record of `from` to the end of `to`.
template <class List>
void join(List &to, List &from) {
  if (from.first != nullptr) {
    *to.last_link = from.first;
    to.last_link = from.last_link;
    make_empty(from);
  }
}

}  // namespace libglobal

#endif
