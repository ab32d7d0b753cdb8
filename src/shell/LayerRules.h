// What the life of a layer is decided by: where a row stands in the drawing order, how each kind of
// layer is listed and told of, what the file choosers ask for, which window a title means, and
// where menus and small panels open.
//
// Threads: any; nothing is kept.
#ifndef ORVANE_SHELL_LAYERRULES_H
#define ORVANE_SHELL_LAYERRULES_H

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <map>
#include <set>
#include <string>

#include "platform/WindowSystem.h"
#include "shell/SceneRecord.h"

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

// A layer by its kind and what it is made from, on one line, for whoever has to tell it from others
// of its kind.
QString LabelOf(const LayerRecord& layer);
// What an offer to bring that scene back says of it.
QString OfferSummary(const Scene& scene);
// What is told of layers that were to come back and have not, by their labels: those whose source
// is no longer there, and those for which there was no room.
QString LeftOutText(const QStringList& gone, const QStringList& tooMany);

// The window of that title, as it is kept (shell/SceneFile.h), that no layer has yet; with all of
// them taken the first one, since a window may be shown twice. 0 where none has that title.
platform::WindowHandle WindowOfTitle(const std::map<platform::WindowHandle, QString>& windows,
                                     const QString& title,
                                     const std::set<platform::WindowHandle>& taken);

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
