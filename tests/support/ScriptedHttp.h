// An HTTP server that answers what the test says, byte for byte, and keeps what it was sent.
//
// It lives on the loopback in the test's own thread and event loop: the client under test waits in
// a local loop, which serves it. One reply per connection.
#ifndef ORVANE_TESTS_SUPPORT_SCRIPTEDHTTP_H
#define ORVANE_TESTS_SUPPORT_SCRIPTEDHTTP_H

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace support {

struct ScriptedReply {
  QByteArray bytes;         // raw, status line and headers included
  int delayMs = 0;          // before the first byte
  bool cutOff = false;      // the connection is reset right behind the bytes
  bool byteByByte = false;  // one byte a millisecond
  bool never = false;       // read the request and say nothing
  int dropMs = 0;           // with never: close the connection that late, without a byte
};

// A whole reply with that body and the headers it needs.
ScriptedReply JsonReply(const QByteArray& body, int status = 200);

// A good one of which the rest never comes. A request that got nothing at all would be sent again
// by the client's library.
ScriptedReply HalfAReply();

class ScriptedHttp : public QObject {
  Q_OBJECT

 public:
  // Listens on port, or on a free one.
  explicit ScriptedHttp(int port = 0);

  QString Address() const;
  bool Listening() const { return m_server.isListening(); }
  // Replies are given in this order; the last one again and again.
  void SetReplies(const QList<ScriptedReply>& replies);
  // Every whole request so far, headers and body.
  const QList<QByteArray>& Requests() const { return m_requests; }
  // Connections that stand.
  int Connections() const { return m_connections; }

 private:
  void Accept();
  void Read(QTcpSocket* socket);
  void Answer(QTcpSocket* socket);

  QTcpServer m_server;
  QList<ScriptedReply> m_replies;
  QList<QByteArray> m_requests;
  int m_next = 0;
  int m_connections = 0;
};

}  // namespace support

#endif
