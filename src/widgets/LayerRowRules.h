// What the layer list decides: where the parts of a row lie, what a press or a move of the mouse in
// a row asks for, and how a drop changes the rows.
//
// Every rectangle lies in the coordinates of the row that is given, which are its view's. Where the
// text and the eye of a hidden layer can be hit is not quite where they are painted; operators'
// hands know it so.
//
// Threads: any; nothing is kept.
#ifndef ORVANE_WIDGETS_LAYERROWRULES_H
#define ORVANE_WIDGETS_LAYERROWRULES_H

#include <QPoint>
#include <QRect>
#include <Qt>
#include <vector>

#include "widgets/ItemData.h"

namespace widgets {

// Hit and painted, unless the name says otherwise.
QRect EyeRect(const QRect& row);
QRect HiddenEyePaintRect(const QRect& row);
QRect TextHitRect(const QRect& row);
QRect TextPaintRect(const QRect& row);
QRect EditRect(const QRect& row);
QRect DeleteRect(const QRect& row);
QRect TextMarkPaintRect(const QRect& row);

enum class PressAction { kNothing, kDelete, kEdit, kHide, kShow, kRecordLeft, kRecordRight };

// A press at that position; the first part of the row that contains it decides. A hidden row has no
// delete and no edit button, and the edit button of a row that is no text takes the press without
// doing anything.
PressAction ActionOfPress(const ItemData& record, const QRect& row, const QPoint& at,
                          Qt::MouseButton button);

// As much of a layer's name as a row could ever show or need for its width: a pasted book must not
// hold up each move of the mouse.
QString ReadablePart(const QString& text);

// Whether a text of that many pixels is too long for its row.
bool NeedsTip(int textWidth);

// What the tip says of a layer whose source could not be opened.
QString FailureText(const QString& name, const QString& cause);

// One change of the list's rows in the course of a drop.
struct RowStep {
  enum class Kind { kInsert, kAppend, kRemove };
  enum class Record { kDragged, kTarget, kNone };
  Kind kind;
  int row;  // -1 for kAppend
  Record record;
};

// What a drop of row drag on row target (-1: below the last row) does to the list, in this order:
// two rows change places, or the dragged one goes to the bottom. Nothing when both are the same, or
// when no row is dragged, or one that is not among so many rows any more.
std::vector<RowStep> StepsOfDrop(int drag, int target, int rows);

}  // namespace widgets

#endif
