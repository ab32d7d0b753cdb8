#include "backend/BackendClient.h"

#include <QCoreApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPixmap>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>
#include <memory>
#include <utility>

#include "backend/PictureDecoder.h"
#include "backend/ReplyParser.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/InformationDlg.h"

namespace {

// More than any list or cover needs; a reply beyond it is a fault or an attack and counts as
// failed.
constexpr qint64 kLargestReply = 64LL * 1024 * 1024;

constexpr std::uint32_t kNoNetworkNotice = 1;
constexpr int kBriefMs = 2000;

using Field = std::pair<const char*, QString>;

std::unique_ptr<QHttpMultiPart> NewForm(std::initializer_list<Field> fields) {
  auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
  for (const Field& field : fields) {
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader,
                   QStringLiteral("form-data; name=\"%1\"").arg(QLatin1String(field.first)));
    // The service reads Latin-1; what it can't carry is replaced.
    part.setBody(field.second.toLatin1());
    form->append(part);
  }
  return form;
}

bool IsAnswered(QNetworkReply* reply) {
  return reply->isFinished() && reply->error() == QNetworkReply::NoError &&
         reply->bytesAvailable() <= kLargestReply;
}

// Waits for the end of the reply; false when it failed, grew too large, its asker is gone or the
// application quits.
bool WaitForReply(QNetworkReply* reply, const QDialog* asker = nullptr) {
  QEventLoop loop;
  if (asker != nullptr) {
    QObject::connect(asker, &QDialog::finished, &loop, &QEventLoop::quit);
    QObject::connect(asker, &QObject::destroyed, &loop, &QEventLoop::quit);
  }
  QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
  QObject::connect(reply, &QNetworkReply::readyRead, &loop, [reply] {
    if (reply->bytesAvailable() > kLargestReply) {
      reply->abort();
    }
  });
  if (!reply->isFinished()) {
    loop.exec();
  }
  return IsAnswered(reply);
}

// The same on the way out, for a short time. The application may have been told to quit inside a
// loop that has not returned yet, and then no other loop runs any more: events are taken by hand.
bool WaitBriefly(QNetworkReply* reply) {
  QElapsedTimer waited;
  waited.start();
  QTimer wake;
  wake.start(kBriefMs);
  QEventLoop loop;
  while (!reply->isFinished() && waited.elapsed() < kBriefMs) {
    loop.processEvents(QEventLoop::WaitForMoreEvents);
  }
  return IsAnswered(reply);
}

void ShowNoNetwork() {
  if (QCoreApplication::closingDown()) {
    return;
  }
  InformationDlg notice(kNoNetworkNotice, QString());
  // On the heap: the dialog owns it.
  ApplyDialogShadow(&notice, new CustomShadowEffect);
  notice.exec();
}

}  // namespace

BackendClient* BackendClient::Instance() {
  static BackendClient client;
  return &client;
}

int BackendClient::PostForm(const QString& path, QHttpMultiPart* multipart, QByteArray* out,
                            Wait wait) {
  QNetworkAccessManager manager;
  const std::unique_ptr<QNetworkReply> reply(
      manager.post(QNetworkRequest(QUrl(BaseAddress() + path)), multipart));
  const bool brief = wait == Wait::kBriefly;
  const bool answered = brief ? WaitBriefly(reply.get()) : WaitForReply(reply.get());
  if (!answered) {
    if (reply->isFinished() && !brief) {
      ShowNoNetwork();
    }
    return -1;
  }
  *out = reply->readAll();
  return 0;
}

int BackendClient::Login(QString login, QString password, LoginResult* out) {
  const auto form = NewForm({{"login", login}, {"password", password}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/user/login"), form.get(), &bytes) < 0) {
    out->code = -1;
    return -1;
  }
  backend::ParseLogin(bytes, out);
  return 0;
}

int BackendClient::Logout(QString token, int* code) {
  const auto form = NewForm({{"token", token}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/user/logout"), form.get(), &bytes) < 0) {
    return -1;
  }
  backend::ParseCode(bytes, code);
  return 0;
}

int BackendClient::GetHomepageAds(AdResult* out) {
  QHttpMultiPart empty(QHttpMultiPart::MixedType);
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/user/homepage-ads"), &empty, &bytes) < 0) {
    return -1;
  }
  backend::ParseAd(bytes, out);
  return 0;
}

int BackendClient::GetHostList(QString token, int page, ActivityList* out, const QDialog* asker) {
  QUrlQuery query;
  query.addQueryItem(QStringLiteral("page"), QString::number(page));
  query.addQueryItem(QStringLiteral("token"), token);
  QUrl url(BaseAddress() + QStringLiteral("/assistant/activity/host-list"));
  url.setQuery(query);

  QNetworkAccessManager manager;
  const std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(url)));
  if (!WaitForReply(reply.get(), asker)) {
    return -1;
  }
  backend::ParseActivities(reply->readAll(), out);
  return 0;
}

int BackendClient::HostStart(QString id, QString token, int* code) {
  const auto form = NewForm({{"id", id}, {"token", token}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/livestream/host-start"), form.get(), &bytes) < 0) {
    return -1;
  }
  backend::ParseCode(bytes, code);
  return 0;
}

int BackendClient::HostEnd(QString id, QString token, int* code, Wait wait) {
  const auto form = NewForm({{"id", id}, {"token", token}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/livestream/host-end"), form.get(), &bytes, wait) < 0) {
    return -1;
  }
  backend::ParseCode(bytes, code);
  return 0;
}

int BackendClient::FetchPixmap(QString url, QPixmap* out, QSize atMost, const QDialog* asker) {
  *out = QPixmap();
  const QUrl address(url);
  // What lies on this machine is none of the service's business, and a pipe that nobody writes to
  // would never be open.
  if (address.isLocalFile()) {
    return 0;
  }
  bool gone = false;
  QObject watch;
  if (asker != nullptr) {
    const auto leave = [&gone] { gone = true; };
    QObject::connect(asker, &QDialog::finished, &watch, leave);
    QObject::connect(asker, &QObject::destroyed, &watch, leave);
  }
  QNetworkAccessManager manager;
  const std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(address)));
  // Also what a failed request brought: some services send a picture with their error.
  WaitForReply(reply.get(), asker);
  const QByteArray bytes = reply->readAll();
  // The asker may have gone after the last byte came.
  if (!gone && reply->isFinished() && !bytes.isEmpty()) {
    *out = QPixmap::fromImage(backend::DecodePicture(bytes, atMost, asker));
  }
  return 0;
}
