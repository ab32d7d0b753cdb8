// The end of a node that the shell owns.
#ifndef ORVANE_SHELL_STOPANDDELETE_H
#define ORVANE_SHELL_STOPANDDELETE_H

namespace shell {

// Stops, deletes and nulls the node; null is left alone. User interface thread only; the node is in
// nobody's output list any more.
template <typename Node>
void StopAndDelete(Node** node) {
  if (*node != nullptr) {
    (*node)->Stop();
    delete *node;
    *node = nullptr;
  }
}

}  // namespace shell

#endif
