// How much of somebody else's text is ever looked at: more than any place shows, in units of
// UTF-16.
//
// Titles of windows, names of layers, pasted books and messages of the service may be megabytes
// long. To measure or to lay out all of one, at each paint or move of the mouse, would hold up the
// window; so whoever does takes the beginning alone.
#ifndef ORVANE_WIDGETS_THEME_SEENLENGTH_H
#define ORVANE_WIDGETS_THEME_SEENLENGTH_H

namespace theme {

// Of a row, a label or a card.
inline constexpr int kSeenInLine = 1024;
// Of what wraps its text over a whole panel.
inline constexpr int kSeenInPanel = 4096;

}  // namespace theme

#endif
