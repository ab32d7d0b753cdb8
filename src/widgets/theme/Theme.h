// What the interface needs before its first widget: the pictures, fonts for the families that its
// style sheets name, the colours of tips, and the ring around the control that has the keyboard.
//
// Threads: user interface thread, once the application object stands.
#ifndef ORVANE_WIDGETS_THEME_THEME_H
#define ORVANE_WIDGETS_THEME_THEME_H

// Makes ":/orvane/qietu/" readable, lets WenQuanYi Micro Hei stand in for each Chinese family that
// this system lacks, darkens the tips, lets Qt's own dialogs speak Chinese, and sets FocusRing to
// work. A second call changes nothing.
void PrepareTheme();

#endif
