// What the life of a layer is decided by: where a row stands in the drawing order, how each kind of
// layer is listed, what the file choosers ask for, and where menus and small panels open.
//
// Threads: any; nothing is kept.
#ifndef ORVANE_SHELL_LAYERRULES_H
#define ORVANE_SHELL_LAYERRULES_H

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <string>

namespace shell {

// Rows count from the top and the drawing order from the bottom. A row below the last one (-1)
// gives the position past the end, which the renderer refuses.
int PositionOfRow(int rows, int row);

// No layer more: said before anything is chosen.
bool SceneIsFull(int rows);
QString SceneIsFullText();

// Names of the rows whose source brings none.
QString DeskName();
QString CameraName();
QString WindowName();  // of one that the system let the operator pick
QString PictureName();
QString FileName();

struct FileQuestion {
  QString caption;
  QString filter;  // for QFileDialog
};
FileQuestion PictureQuestion();
FileQuestion MediaQuestion();

// QFileDialog's own list of files splits patterns at blanks only: with semicolons left in, all but
// the last would match no file.
QString SpacedPatterns(const QString& filter);

// The first of the chosen files as the nodes take it, in UTF-8; empty when there is none.
std::string FirstPath(const QStringList& files);

// Where a menu opens for a button at that place of the screen: above it and to the left.
QPoint MenuPlace(const QPoint& button);
// Where the name tip and the question before a delete open for the mouse at that place.
QPoint PanelPlace(const QPoint& mouse);
// The same for the name tip, which must not lie over the row that it belongs to: above that row, or
// below it where the screen ends. row: on the screen; empty for a tip of no row.
QPoint TipPlace(const QPoint& mouse, const QSize& tip, const QRect& row, const QRect& screen);

}  // namespace shell

#endif
