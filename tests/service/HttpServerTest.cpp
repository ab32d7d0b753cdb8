#include "service/HttpServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "service/FormReader.h"
#include "service/HttpClient.h"
#include "service/ServiceRig.h"

namespace {

using service::FormReader;
using support::CodeOf;
using support::Connection;
using support::Exchange;
using support::FormFields;
using support::HttpReply;
using support::MultipartBody;
using support::MultipartType;
using support::PostRequest;

const std::string kLogin = "/assistant/user/login";

class HttpServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    rig.AddAccount("us\xe9r", "p\xe4ss");
    ASSERT_TRUE(rig.Serve());
  }
  HttpReply Login() {
    return support::PostForm(rig.port, kLogin, {{"login", "us\xe9r"}, {"password", "p\xe4ss"}});
  }
  HttpReply Post(const std::string& type, const std::string& body) {
    return Exchange(rig.port, PostRequest(kLogin, type, body));
  }
  // All that comes until the server closes. It waits for the rest of a damaged request until the
  // time of the request is over, so the clock is moved on.
  std::string ReadToTheEnd(Connection* connection) {
    std::string all;
    support::WaitFor(
        [&] {
          all += connection->ReadAll(200);
          rig.clock.now += 31000;
          return connection->Closed(0);
        },
        support::kPatienceMs);
    return all;
  }
  void ExpectAlive() { EXPECT_EQ(support::Get(rig.port, "/health").status, 200); }
  support::ServiceRig rig;
};

}  // namespace

TEST_F(HttpServerTest, AFormInEitherKindIsReadByteForByte) {
  EXPECT_EQ(CodeOf(Login()), 0);
  EXPECT_EQ(CodeOf(Post("application/x-www-form-urlencoded", "login=us%E9r&password=p%e4ss")), 0);
  EXPECT_EQ(
      CodeOf(Post(MultipartType(), MultipartBody({{"password", "p\xe4ss"}, {"login", "us\xe9r"}}))),
      0);
}

TEST_F(HttpServerTest, AFormInChunksAndByteByByteIsTheSameForm) {
  const std::string body = MultipartBody({{"login", "us\xe9r"}, {"password", "p\xe4ss"}});
  std::string chunked =
      "POST " + kLogin +
      " HTTP/1.1\r\nHost: h\r\nConnection: close\r\nContent-Type: " + MultipartType() +
      "\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (const char byte : body) {
    chunked += std::string("1\r\n") + byte + "\r\n";
  }
  EXPECT_EQ(CodeOf(Exchange(rig.port, chunked + "0\r\n\r\n")), 0);
  Connection slow(rig.port);
  for (const char byte : PostRequest(kLogin, MultipartType(), body)) {
    ASSERT_TRUE(slow.Send(std::string(1, byte)));
  }
  EXPECT_EQ(CodeOf(support::ParseReply(slow.ReadAll())), 0);
}

TEST_F(HttpServerTest, AFormCutOffAtAnyPlaceLogsNobodyIn) {
  const std::string body = MultipartBody({{"login", "us\xe9r"}, {"password", "p\xe4ss!"}});
  for (std::size_t length = 0; length < body.size() - 4; ++length) {
    const HttpReply reply = Post(MultipartType(), body.substr(0, length));
    ASSERT_NE(reply.status, 0) << length;
    ASSERT_LT(CodeOf(reply), 0) << length << " " << reply.body;
    // Half a password must not even be looked at.
    ASSERT_TRUE(length == 0 || reply.status == 400) << length << " " << reply.status;
    rig.clock.now += service::LoginLimit::kWindowMs;
  }
  const std::size_t whole = PostRequest(kLogin, MultipartType(), body).size();
  for (const std::size_t length : {std::size_t{10}, whole / 2, whole - 1}) {
    Connection connection(rig.port);
    connection.Send(PostRequest(kLogin, MultipartType(), body).substr(0, length));
    connection.EndSending();
    const std::string reply = ReadToTheEnd(&connection);
    EXPECT_EQ(reply.find("token"), std::string::npos);
  }
  ExpectAlive();
}

TEST_F(HttpServerTest, BodiesThatAreNoFormAreRefusedOrEmpty) {
  const struct {
    const char* type;
    const char* body;
  } cases[] = {{"", "login=u"},
               {"application/json", "{\"login\":\"u\"}"},
               {"multipart/mixed; boundary=x", "--x--\r\n"},
               {"multipart/form-data", "no boundary"},
               {"multipart/form-data; boundary=", "--\r\n"},
               {"multipart/form-data; boundary=x", "nothing of it"},
               {"text/plain", ""}};
  for (const auto& c : cases) {
    const HttpReply reply = Post(c.type, c.body);
    EXPECT_TRUE(reply.status == 200 || reply.status == 400) << c.type << " " << reply.status;
    EXPECT_LT(CodeOf(reply), 0) << c.type;
  }
  ExpectAlive();
}

TEST_F(HttpServerTest, TheEmptyMultipartOfTheAdvertisementIsAccepted) {
  for (const char* body : {"", "--b--\r\n", "\r\n--b--\r\n", "garbage"}) {
    const HttpReply reply = Exchange(
        rig.port,
        PostRequest("/assistant/user/homepage-ads", "multipart/mixed; boundary=\"b\"", body));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(CodeOf(reply), 0);
  }
}

TEST_F(HttpServerTest, FormsBeyondTheirBoundsAreTooLarge) {
  FormFields many;
  for (std::size_t i = 0; i <= FormReader::kMaxFields; ++i) {
    many.emplace_back("f" + std::to_string(i), "v");
  }
  EXPECT_EQ(Post(MultipartType(), MultipartBody(many)).status, 413);
  many.pop_back();
  EXPECT_EQ(Post(MultipartType(), MultipartBody(many)).status, 200);
  const FormFields longest = {{"login", std::string(FormReader::kMaxValue, 'x')}};
  EXPECT_EQ(Post(MultipartType(), MultipartBody(longest)).status, 200);
  const FormFields longer = {{"login", std::string(FormReader::kMaxValue + 1, 'x')}};
  EXPECT_EQ(Post(MultipartType(), MultipartBody(longer)).status, 413);
  EXPECT_EQ(Post("text/plain", std::string(FormReader::kMaxBody + 1, 'x')).status, 413);
}

TEST_F(HttpServerTest, ABodyWithoutEndIsCutOff) {
  Connection connection(rig.port);
  ASSERT_TRUE(connection.Send("POST " + kLogin +
                              " HTTP/1.1\r\nHost: h\r\nContent-Type: text/plain\r\n"
                              "Content-Length: 1000000000\r\n\r\n"));
  const std::string piece(65536, 'x');
  int sent = 0;
  while (sent < 1000 && connection.Send(piece)) {
    ++sent;
  }
  EXPECT_LT(sent, 1000);
  ExpectAlive();
}

TEST_F(HttpServerTest, ANameThatComesTwiceCountsOnce) {
  const HttpReply reply =
      Post(MultipartType(),
           MultipartBody({{"login", "x"}, {"login", "us\xe9r"}, {"password", "p\xe4ss"}}));
  EXPECT_EQ(CodeOf(reply), 0);
}

TEST_F(HttpServerTest, BinaryValuesArePassedOnAsBytes) {
  std::string all;
  for (int i = 0; i < 256; ++i) {
    all += static_cast<char>(i);
  }
  const HttpReply reply = Post(MultipartType(), MultipartBody({{"login", all}, {"password", all}}));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(CodeOf(reply), service::kWrongPassword);
}

TEST_F(HttpServerTest, HeadersBeyondTheirBoundAreRefused) {
  const HttpReply reply =
      Exchange(rig.port, "GET /health HTTP/1.1\r\nHost: h\r\nX-Long: " + std::string(100000, 'x') +
                             "\r\n\r\n");
  EXPECT_TRUE(reply.status == 0 || reply.status == 431) << reply.status;
  Exchange(rig.port, "GET /" + std::string(100000, 'x') + " HTTP/1.1\r\nHost: h\r\n\r\n");
  ExpectAlive();
}

TEST_F(HttpServerTest, ARequestThatDripsIsEndedWhenItsTimeIsOver) {
  Connection headers(rig.port);
  Connection body(rig.port);
  ASSERT_TRUE(headers.Send("GET /health HTTP/1.1\r\nX-Drip: "));
  ASSERT_TRUE(body.Send("POST " + kLogin + " HTTP/1.1\r\nHost: h\r\nContent-Length: 1000\r\n\r\n"));
  ASSERT_TRUE(support::WaitFor(
      [&] {
        // The server has seen both once they are beyond their time by the clock it goes by.
        rig.clock.now += 31000;
        return headers.Closed(300) && body.Closed(300);
      },
      support::kPatienceMs));
  ExpectAlive();
}

TEST_F(HttpServerTest, TwoHundredConnectionsThatSayNothingKeepNobodyOut) {
  std::vector<std::unique_ptr<Connection>> idle;
  for (int i = 0; i < 200; ++i) {
    idle.push_back(std::make_unique<Connection>(rig.port));
  }
  ExpectAlive();
  EXPECT_EQ(CodeOf(Login()), 0);
}

TEST_F(HttpServerTest, LoginsOfManyAtOnceAreAllAnsweredOrToldToWait) {
  std::atomic<int> done{0};
  std::atomic<int> later{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 24; ++i) {
    threads.emplace_back([&] {
      const int code = CodeOf(Login());
      done += code == 0 ? 1 : 0;
      later += code == service::kTooManyRequests ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(done + later, 24);
  EXPECT_GE(done, service::HttpServer::kMaxWaitingLoginsOfNetwork);
}

TEST_F(HttpServerTest, ClientsThatLeaveWhileTheyWaitForALoginHarmNobody) {
  const std::string request =
      PostRequest(kLogin, MultipartType(), MultipartBody({{"login", "a"}, {"password", "b"}}));
  for (int i = 0; i < 30; ++i) {
    Connection connection(rig.port);
    connection.Send(request);
  }
  ExpectAlive();
  ASSERT_TRUE(support::WaitFor([&] { return CodeOf(Login()) == 0; }, support::kPatienceMs));
}

TEST_F(HttpServerTest, TooManyRequestsAreTurnedAwayAndTheIngestIsNot) {
  rig.StopServing();
  service::Settings settings = rig.DefaultSettings();
  settings.requestsPerSecond = 5;
  ASSERT_TRUE(rig.Serve(settings));
  int refused = 0;
  for (int i = 0; i < 15; ++i) {
    refused += support::Get(rig.port, "/health").status == 429 ? 1 : 0;
  }
  EXPECT_EQ(refused, 5);
  EXPECT_EQ(support::PostForm(rig.port, "/ingest/ingestsecret/done", {{"name", "x"}}).status, 200);
  rig.clock.now += 1000;
  ExpectAlive();
}

TEST_F(HttpServerTest, APortInUseIsSaidAndFreeAgainAfterTheEnd) {
  service::Shared shared(rig.DefaultSettings(), rig.clock);
  service::HttpServer second(rig.Database(), &shared);
  QString error;
  EXPECT_FALSE(second.Start(&error));
  EXPECT_TRUE(error.contains(QStringLiteral("in use"))) << error.toStdString();
  rig.StopServing();
  EXPECT_TRUE(second.Start(&error)) << error.toStdString();
  ExpectAlive();
}

TEST_F(HttpServerTest, ListensOnIPv6) {
  rig.StopServing();
  service::Settings settings = rig.DefaultSettings();
  for (const char* address : {"::1", "::"}) {
    settings.listenAddress = address;
    ASSERT_TRUE(rig.Serve(settings)) << address;
    Connection six(rig.port, "::1");
    ASSERT_TRUE(six.Open());
    six.Send(support::GetRequest("/health"));
    EXPECT_EQ(support::ParseReply(six.ReadAll()).status, 200);
    EXPECT_EQ(support::Get(rig.port, "/health").status == 200, std::string(address) == "::");
    rig.StopServing();
  }
}

TEST_F(HttpServerTest, AStopAnswersOrClosesEveryConnection) {
  std::vector<std::unique_ptr<Connection>> waiting;
  for (int i = 0; i < 10; ++i) {
    waiting.push_back(std::make_unique<Connection>(rig.port));
    waiting.back()->Send(
        PostRequest(kLogin, MultipartType(), MultipartBody({{"login", "a"}, {"password", "b"}})));
  }
  rig.StopServing();
  for (const auto& connection : waiting) {
    connection->ReadAll();
    EXPECT_TRUE(connection->Closed(0));
  }
}

TEST_F(HttpServerTest, ADatabaseThatGoesBadGivesAnErrorStatusAndTheServiceGoesOn) {
  rig.StopServing();
  rig.store.reset();
  const std::string path = rig.directory.File("service.sqlite");
  std::filesystem::rename(path, path + ".away");
  std::filesystem::create_directory(path);
  ASSERT_TRUE(rig.Serve());
  EXPECT_EQ(support::Get(rig.port, "/health").status, 503);
  EXPECT_EQ(Login().status, 503);
  std::filesystem::remove(path);
  std::filesystem::rename(path + ".away", path);
  ExpectAlive();
  EXPECT_EQ(CodeOf(Login()), 0) << "the account is still there";
}

TEST_F(HttpServerTest, DamagedFormsAndRequestsNeverBringItDown) {
  const std::string whole = PostRequest(
      kLogin, MultipartType(), MultipartBody({{"login", "user"}, {"password", "p\xe4ss"}}));
  std::mt19937 random(20240607);
  for (int round = 0; round < 120; ++round) {
    std::string bytes = whole;
    for (unsigned edit = 0; edit <= random() % 5; ++edit) {
      const std::size_t at = random() % bytes.size();
      switch (random() % 5) {
        case 0:
          bytes[at] = static_cast<char>(random());
          break;
        case 1:
          bytes.erase(at, random() % 20);
          break;
        case 2:
          bytes.insert(at, bytes.substr(at, random() % 200));
          break;
        case 3:
          bytes.insert(at, "\r\n--boundary_.x\r\n");
          break;
        default:
          bytes.insert(at, std::string(random() % 3000, static_cast<char>(random())));
      }
      bytes += "x";
    }
    Connection connection(rig.port);
    connection.Send(bytes);
    connection.EndSending();
    EXPECT_EQ(ReadToTheEnd(&connection).find("\"token\""), std::string::npos);
    rig.clock.now += service::LoginLimit::kWindowMs;
  }
  ExpectAlive();
}
