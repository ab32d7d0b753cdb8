// The dialog of activities, its service, which answers what the test says, and the operator's hand
// in it.
//
// Threads: the test's own; the service is served by the waits.
#ifndef ORVANE_TESTS_WIDGETS_SELECTACTIVITIESRIG_H
#define ORVANE_TESTS_WIDGETS_SELECTACTIVITIESRIG_H

#include <gtest/gtest.h>

#include <QAbstractItemModel>
#include <QBuffer>
#include <QComboBox>
#include <QCoreApplication>
#include <QImage>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <memory>

#include "backend/TestAddress.h"
#include "sources/DeviceCatalogue.h"
#include "support/ScriptedHttp.h"
#include "widgets/ActItemData.h"
#include "widgets/SelectActivities.h"

namespace support {

constexpr int kPatienceMs = 20000;

struct Entry {
  QByteArray title = "t";
  int playStatus = 1;
  QByteArray publishUrl = "rtmp://127.0.0.1/live/k";
};

inline QByteArray Png(const QSize& size, const QColor& color = Qt::red) {
  QImage image(size, QImage::Format_RGB32);
  image.fill(color);
  QBuffer buffer;
  image.save(&buffer, "PNG");
  return buffer.data();
}

class SelectActivitiesRig : public ::testing::Test {
 protected:
  void SetUp() override {
    SetTestAddress(server.Address());
    catalogue->userToken = QStringLiteral("tok");
    server.SetReplies({kNone});
  }
  void TearDown() override { catalogue->userToken.clear(); }

  // Covers point at a port where nobody listens, so each is one quick failure.
  QByteArray Body(const QList<Entry>& entries, const QByteArray& cover = "http://127.0.0.1:1/c") {
    QByteArrayList parts;
    for (const Entry& entry : entries) {
      parts << "{\"coverUrl\":\"" + cover +
                   "\",\"lsId\":\"id\",\"playStatus\":" + QByteArray::number(entry.playStatus) +
                   ",\"publishUrl\":\"" + entry.publishUrl +
                   "\",\"rtmpLiveUrl\":\"v\",\"startTime\":1700000000,\"title\":\"" + entry.title +
                   "\"}";
    }
    return "{\"code\":0,\"activities\":[" + parts.join(',') + "]}";
  }
  QByteArray ServerCover() const { return (server.Address() + "/cover").toLatin1(); }

  void Open() {
    dialog = std::make_unique<SelectActivities>();
    dialog->show();
  }
  // Opens it and waits for that many requests and the end of what they bring.
  void OpenWith(const QList<ScriptedReply>& replies, int cards) {
    server.SetReplies(replies);
    Open();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Cards() == cards && !server.Requests().isEmpty(); },
                                kPatienceMs));
    QCoreApplication::processEvents();
  }
  ActivitiesList* List() { return dialog->findChild<ActivitiesList*>(QStringLiteral("listView")); }
  QPushButton* Button(const char* name) {
    return dialog->findChild<QPushButton*>(QLatin1String(name));
  }
  QComboBox* Combo() { return dialog->findChild<QComboBox*>(QStringLiteral("selectCombo")); }
  int Cards() { return List()->QListView::model()->rowCount(); }
  ActItemData Card(int row) {
    return List()
        ->QListView::model()
        ->index(row, 0)
        .data(widgets::kActItemDataRole)
        .value<ActItemData>();
  }
  void Press(int row) {
    const QModelIndex index = List()->QListView::model()->index(row, 0);
    QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      List()->visualRect(index).center());
  }
  void ScrollToEnd() {
    QScrollBar* bar = List()->verticalScrollBar();
    bar->setValue(0);
    bar->setValue(bar->maximum());
  }
  // The page that the request asked for.
  QByteArray Page(int request) {
    const QByteArray line = server.Requests().value(request).split('\r').first();
    const int at = line.indexOf("page=") + 5;
    return line.mid(at, line.indexOf('&', at) - at);
  }

  const ScriptedReply kNone = JsonReply(R"({"code":0,"activities":[]})");
  ScriptedHttp server;
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
  std::unique_ptr<SelectActivities> dialog;
};

}  // namespace support

#endif
