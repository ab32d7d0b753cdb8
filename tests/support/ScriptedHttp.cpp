#include "support/ScriptedHttp.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <memory>

namespace support {

namespace {

// The length of the whole request, or -1 while its headers are incomplete.
int RequestLength(const QByteArray& bytes) {
  const int headerEnd = bytes.indexOf("\r\n\r\n");
  if (headerEnd < 0) {
    return -1;
  }
  const QByteArray headers = bytes.left(headerEnd).toLower();
  const QByteArray name = "content-length:";
  const int at = headers.indexOf(name);
  if (at < 0) {
    return headerEnd + 4;
  }
  int lineEnd = headers.indexOf("\r\n", at);
  if (lineEnd < 0) {
    lineEnd = headers.size();
  }
  const int first = at + name.size();
  return headerEnd + 4 + headers.mid(first, lineEnd - first).trimmed().toInt();
}

void WriteByteByByte(QTcpSocket* socket, QByteArray bytes) {
  if (bytes.isEmpty()) {
    socket->disconnectFromHost();
    return;
  }
  socket->write(bytes.left(1));
  const QPointer<QTcpSocket> guard(socket);
  QTimer::singleShot(1, socket, [guard, bytes] {
    if (guard) {
      WriteByteByByte(guard, bytes.mid(1));
    }
  });
}

}  // namespace

ScriptedReply JsonReply(const QByteArray& body, int status) {
  ScriptedReply reply;
  reply.bytes = "HTTP/1.1 " + QByteArray::number(status) +
                " Scripted\r\nContent-Type: application/json\r\nConnection: close\r\n"
                "Content-Length: " +
                QByteArray::number(body.size()) + "\r\n\r\n" + body;
  return reply;
}

ScriptedReply HalfAReply() {
  ScriptedReply half = JsonReply(R"({"code":0})");
  half.bytes.chop(4);
  half.cutOff = true;
  return half;
}

ScriptedHttp::ScriptedHttp(int port) {
  connect(&m_server, &QTcpServer::newConnection, this, &ScriptedHttp::Accept);
  m_server.listen(QHostAddress::LocalHost, static_cast<quint16>(port));
}

QString ScriptedHttp::Address() const {
  return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort());
}

void ScriptedHttp::SetReplies(const QList<ScriptedReply>& replies) {
  m_replies = replies;
  m_next = 0;
  m_requests.clear();
}

void ScriptedHttp::Accept() {
  while (QTcpSocket* socket = m_server.nextPendingConnection()) {
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { Read(socket); });
    ++m_connections;
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
      --m_connections;
      socket->deleteLater();
    });
  }
}

void ScriptedHttp::Read(QTcpSocket* socket) {
  const QByteArray bytes = socket->property("request").toByteArray() + socket->readAll();
  socket->setProperty("request", bytes);
  const int length = RequestLength(bytes);
  if (length < 0 || bytes.size() < length || socket->property("answered").toBool()) {
    return;
  }
  socket->setProperty("answered", true);
  m_requests.append(bytes);
  Answer(socket);
}

void ScriptedHttp::Answer(QTcpSocket* socket) {
  if (m_replies.isEmpty()) {
    return;
  }
  const ScriptedReply reply = m_replies.at(qMin(m_next, m_replies.size() - 1));
  ++m_next;
  if (reply.never) {
    if (reply.dropMs > 0) {
      QTimer::singleShot(reply.dropMs, socket, &QTcpSocket::disconnectFromHost);
    }
    return;
  }
  QTimer::singleShot(reply.delayMs, socket, [socket, reply] {
    if (reply.byteByByte) {
      WriteByteByByte(socket, reply.bytes);
      return;
    }
    socket->write(reply.bytes);
    socket->flush();
    if (reply.cutOff) {
      socket->abort();
    } else {
      socket->disconnectFromHost();
    }
  });
}

}  // namespace support
