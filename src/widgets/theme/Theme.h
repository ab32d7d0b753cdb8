// What the interface needs before its first widget: the pictures, and fonts for the families that
// its style sheets name.
//
// Threads: user interface thread, once the application object stands.
#ifndef ORVANE_WIDGETS_THEME_THEME_H
#define ORVANE_WIDGETS_THEME_THEME_H

// Makes ":/orvane/qietu/" readable, and lets WenQuanYi Micro Hei stand in for each Chinese family
// that this system lacks. A second call changes nothing.
void PrepareTheme();

#endif
