#include "widgets/theme/ListStyle.h"

QString ListStyle() {
  return QStringLiteral(
      "QListView{border:none;background:#282A30;}"
      "QScrollBar:vertical{width:4px;background:transparent;margin:0px;padding-top:5px;"
      "padding-bottom:5px;}"
      "QScrollBar::handle:vertical{background:rgba(135,142,153,25%);border-radius:2px;"
      "min-height:20;}"
      "QScrollBar::handle:vertical:hover{background:rgba(135,142,153,50%);border-radius:2px;"
      "min-height:20;}"
      "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{width:0px;height:0px;}"
      "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background:#282A30;}");
}
