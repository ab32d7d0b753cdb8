#include "backend/BackendClient.h"

#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPixmap>
#include <QUrl>
#include <QUrlQuery>
#include <memory>
#include <utility>

#include "backend/PictureDecoder.h"
#include "backend/ReplyParser.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/InformationDlg.h"

namespace {

// A reply beyond these is a fault or an attack and counts as failed. A list is parsed on the user
// interface thread; one of thousands of activities stays below.
constexpr qint64 kLargestAnswer = 4LL * 1024 * 1024;
constexpr qint64 kLargestPicture = 64LL * 1024 * 1024;

using backend::Until;
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

// Waits for the end of the reply; false when the wait ended before. Its error is not looked at.
bool WaitForReply(QNetworkReply* reply, qint64 largest, const Until& until) {
  QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply, largest] {
    if (reply->bytesAvailable() > largest) {
      reply->abort();
    }
  });
  // At once, and not when the wait returns, which others on top of it may delay: a connection that
  // dies unanswered would have the request sent again by Qt.
  QObject::connect(&until, &Until::ended, reply, &QNetworkReply::abort);
  return until.Wait(reply, &QNetworkReply::finished);
}

bool IsAnswered(const QNetworkReply& reply) {
  return reply.error() == QNetworkReply::NoError && reply.bytesAvailable() <= kLargestAnswer;
}

void ShowNoNetwork() {
  InformationDlg notice(InformationDlg::kNoNetwork, QString());
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
                            const Until& until) {
  if (until.IsEnded()) {
    return -1;
  }
  QNetworkAccessManager manager;
  const std::unique_ptr<QNetworkReply> reply(
      manager.post(QNetworkRequest(QUrl(BaseAddress() + path)), multipart));
  const bool came = WaitForReply(reply.get(), kLargestAnswer, until);
  if (came && IsAnswered(*reply)) {
    *out = reply->readAll();
    return 0;
  }
  if (came && !until.IsBrief()) {
    ShowNoNetwork();
  }
  return -1;
}

int BackendClient::Login(QString login, QString password, LoginResult* out, const Until& until) {
  const auto form = NewForm({{"login", login}, {"password", password}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/user/login"), form.get(), &bytes, until) < 0) {
    out->code = -1;
    return -1;
  }
  if (!backend::ParseLogin(bytes, out)) {
    // The service has said nothing that could be shown.
    out->message = QStringLiteral("服务器的回复无法识别");
  }
  return 0;
}

int BackendClient::Logout(QString token, int* code, const Until& until) {
  const auto form = NewForm({{"token", token}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/user/logout"), form.get(), &bytes, until) < 0) {
    return -1;
  }
  backend::ParseCode(bytes, code);
  return 0;
}

int BackendClient::GetHomepageAds(AdResult* out, const Until& until) {
  QHttpMultiPart empty(QHttpMultiPart::MixedType);
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/user/homepage-ads"), &empty, &bytes, until) < 0) {
    return -1;
  }
  backend::ParseAd(bytes, out);
  return 0;
}

int BackendClient::GetHostList(QString token, int page, ActivityList* out, const Until& until) {
  if (until.IsEnded()) {
    return -1;
  }
  QUrlQuery query;
  query.addQueryItem(QStringLiteral("page"), QString::number(page));
  // A query takes some marks as they are that servers read as others, such as a plus for a blank.
  query.addQueryItem(QStringLiteral("token"), QString::fromLatin1(QUrl::toPercentEncoding(token)));
  QUrl url(BaseAddress() + QStringLiteral("/assistant/activity/host-list"));
  url.setQuery(query);

  QNetworkAccessManager manager;
  const std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(url)));
  if (!WaitForReply(reply.get(), kLargestAnswer, until) || !IsAnswered(*reply)) {
    return -1;
  }
  backend::ParseActivities(reply->readAll(), out);
  return 0;
}

int BackendClient::HostStart(QString id, QString token, int* code, const Until& until,
                             QString* message) {
  const auto form = NewForm({{"id", id}, {"token", token}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/livestream/host-start"), form.get(), &bytes, until) < 0) {
    return -1;
  }
  backend::ParseCode(bytes, code, message);
  return 0;
}

int BackendClient::HostEnd(QString id, QString token, int* code, const Until& until) {
  const auto form = NewForm({{"id", id}, {"token", token}});
  QByteArray bytes;
  if (PostForm(QStringLiteral("/assistant/livestream/host-end"), form.get(), &bytes, until) < 0) {
    return -1;
  }
  backend::ParseCode(bytes, code);
  return 0;
}

int BackendClient::FetchPixmap(QString url, QPixmap* out, QSize atMost, const Until& until) {
  *out = QPixmap();
  const QUrl address(url);
  // What lies on this machine is none of the service's business, and a pipe that nobody writes to
  // would never be open.
  if (address.isLocalFile() || until.IsEnded()) {
    return 0;
  }
  QNetworkAccessManager manager;
  const std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(address)));
  if (!WaitForReply(reply.get(), kLargestPicture, until) || !reply->isReadable()) {
    return 0;
  }
  // Also what a failed request brought: some services send a picture with their error.
  const QByteArray bytes = reply->readAll();
  if (!bytes.isEmpty()) {
    *out = QPixmap::fromImage(backend::DecodePicture(bytes, atMost, until));
  }
  return 0;
}
