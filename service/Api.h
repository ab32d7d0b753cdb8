// What the service answers: a whole request in, a whole response out, no network.
//
// Every reply of the six calls is a JSON object with "code": 0 for success, below 0 for a refusal,
// with "message" in the operator's language. A refusal is HTTP 200: the client takes any error
// status for a network that does not answer. Only what no client of ours sends (another method, no
// such path, too large a body) and a database that can't be used get an error status.
//
// Form values are Latin-1, as the client sends them. Requests of the ingest carry a secret in their
// path.
//
// Threads: one Api per thread, over that thread's Store; the Shared part is common to all and locks
// itself. Login takes as long as a password hash: IsSlow tells which requests belong on a thread of
// their own.
#ifndef ORVANE_SERVICE_API_H
#define ORVANE_SERVICE_API_H

#include <QByteArray>
#include <map>
#include <string>

#include "service/Clock.h"
#include "service/RateLimit.h"
#include "service/Store.h"

class QJsonObject;

namespace service {

struct Request {
  std::string method;
  std::string path;                          // without the query
  std::map<std::string, std::string> query;  // decoded
  std::map<std::string, std::string> form;   // decoded, the bytes as sent
  std::string host;                          // the Host header
  std::string peer;                          // the caller's address
  std::string network;                       // whom limits count: a whole /64 of IPv6 as one
  bool peerIsLoopback = false;
};

struct Response {
  int status = 200;
  std::string type = "application/json; charset=utf-8";
  QByteArray body;
  std::string location;  // of a redirect
};

struct Settings {
  std::string listenAddress = "127.0.0.1";
  int port = 18080;
  std::string ingestHost = "127.0.0.1";
  int rtmpPort = 1935;
  std::int64_t sessionSeconds = 12LL * 3600;
  int requestsPerSecond = 5000;  // from one address
  std::string ingestSecret;
};

// Common to all threads; outlives every Api.
struct Shared {
  Shared(const Settings& all, const Clock& time)
      : settings(all), clock(time), requests(all.requestsPerSecond) {}
  const Settings settings;
  const Clock& clock;
  RequestLimit requests;
  LoginLimit logins{LoginLimit::kMaxFailures};
  // Of one network, whatever accounts it tries.
  LoginLimit networks{LoginLimit::kMaxFailuresOfNetwork};
};

// The refusals, as the client sees them in "code".
enum Refusal : int {
  kWrongPassword = -1,
  kTooManyFailures = -2,
  kLoopbackOnly = -3,
  kNoSession = -10,
  kNoActivity = -20,
  kAlreadyLive = -21,
  kActivityClosed = -22,
  kNotLive = -23,
  kBadRequest = -30,
  kTooManyRequests = -31,
  kUnavailable = -50,
};

class Api {
 public:
  Api(Store* store, Shared* shared) : m_store(store), m_shared(shared) {}

  static bool IsSlow(const Request& request);
  // Whether a body is expected as a form whose fields count; otherwise it is read and dropped.
  static bool TakesForm(const std::string& path);
  // Whether it comes from the ingest, which the limits of strangers don't concern.
  bool IsOfIngest(const Request& request) const;

  Response Handle(const Request& request);

  // A whole reply for what the server itself refuses.
  static Response Refuse(int status, int code, const QString& message);

 private:
  Response Login(const Request& request);
  Response Logout(const Request& request);
  Response HomepageAds(const Request& request);
  Response HostList(const Request& request);
  Response HostStart(const Request& request);
  Response HostEnd(const Request& request);
  Response FetchPicture(const std::string& id);
  Response Health();
  Response IngestPublish(const Request& request);
  Response IngestWatch(const Request& request);
  Response IngestDone(const Request& request);
  Response IngestUpdate(const Request& request);

  // The account that the request's token belongs to; otherwise *response is the refusal.
  bool FindCaller(const std::string& token, QString* accountId, Response* response);
  bool FindOwnActivity(const Request& request, Activity* activity, Response* response);
  // Whether the running broadcast of that activity is another session's that still lives; then
  // *response is the refusal. One that nobody sends any more is ended.
  bool IsTaken(const Activity& activity, const QString& tokenHash, bool* own, Response* response);
  bool IsStale(const Broadcast& running, const Activity& activity);
  Response EndBroadcast(const Broadcast& running);
  QJsonObject Describe(const Activity& activity, const Request& request);

  Store* m_store;
  Shared* m_shared;
};

// "[::1]" for "::1": as an address stands in a URL.
std::string Bracketed(const std::string& address);
// The same, and the loopback for an address that means "all of this machine's".
std::string Reachable(const std::string& address);

// Where the activity's stream goes, and where viewers find it. host: under which the own ingest is
// reached, as in a URL.
std::string PublishUrl(const Activity& activity, const Settings& settings, const std::string& host);
std::string ViewUrl(const Activity& activity, const Settings& settings, const std::string& host);

}  // namespace service

#endif
