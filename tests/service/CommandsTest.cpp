// The commands of the built program, as a person or a script uses them.
#include "service/Commands.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "service/HttpClient.h"
#include "service/ServiceRig.h"

namespace {

using support::RunResult;

class CommandsTest : public ::testing::Test {
 protected:
  std::string Database() const { return directory.File("db.sqlite"); }
  // input: what standard input holds, through a file.
  RunResult Command(std::vector<std::string> arguments, const std::string& input = "") {
    std::ofstream(directory.File("input")) << input;
    std::string line = "exec \"$0\" \"$@\" <" + directory.File("input");
    std::vector<std::string> all = {"/bin/sh", "-c", line, ORVANE_SERVICE};
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.insert(all.end(), {"--database", Database()});
    return support::Run(all);
  }
  int AddAccount(const std::string& login, const std::string& password = "secret\n") {
    return Command({"account", "add", login}, password).status;
  }
  std::string AddActivity(std::vector<std::string> more = {}) {
    std::vector<std::string> all = {"activity", "add", "--account", "user", "--title", "直播"};
    all.insert(all.end(), more.begin(), more.end());
    const RunResult result = Command(all);
    return result.status == 0 ? result.output.substr(0, result.output.find('\n')) : "";
  }
  std::string Png(const char* name) {
    std::ofstream(directory.File(name), std::ios::binary) << "\x89PNG\r\n\x1a\n" << name;
    return directory.File(name);
  }
  support::TempDir directory;
};

// The program on a terminal of its own.
class Terminal {
 public:
  explicit Terminal(const std::vector<std::string>& arguments) {
    std::vector<std::string> copy = arguments;
    std::vector<char*> argv;
    for (std::string& argument : copy) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    m_id = forkpty(&m_terminal, nullptr, nullptr, nullptr);
    if (m_id == 0) {
      // Whoever starts these tests behind a script may have had it ignored.
      signal(SIGINT, SIG_DFL);
      execv(argv[0], argv.data());
      _exit(127);
    }
  }
  ~Terminal() {
    if (m_id > 0) {
      kill(m_id, SIGKILL);
      waitpid(m_id, nullptr, 0);
    }
    close(m_terminal);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  bool Expect(const std::string& text) {
    fcntl(m_terminal, F_SETFL, O_NONBLOCK);
    return support::WaitFor(
        [&] {
          std::array<char, 4096> buffer{};
          const ssize_t got = read(m_terminal, buffer.data(), buffer.size());
          shown.append(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
          return shown.find(text) != std::string::npos;
        },
        20000);
  }
  void Type(const std::string& text) {
    EXPECT_EQ(write(m_terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  bool Echoes() const {
    termios settings{};
    tcgetattr(m_terminal, &settings);
    return (settings.c_lflag & ECHO) != 0;
  }
  // The exit status, or minus the signal that ended it; 1000 while it runs.
  int Wait() {
    int status = 0;
    pid_t ended = 0;
    support::WaitFor([&] { return (ended = waitpid(m_id, &status, WNOHANG)) != 0; }, 20000);
    if (ended <= 0) {
      return 1000;
    }
    m_id = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  std::string shown;

 private:
  int m_terminal = -1;
  pid_t m_id = -1;
};

}  // namespace

TEST_F(CommandsTest, EveryCommandAnswersHelp) {
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{},
                                             {"serve"},
                                             {"account"},
                                             {"account", "add"},
                                             {"account", "passwd"},
                                             {"account", "remove"},
                                             {"account", "list"},
                                             {"activity"},
                                             {"activity", "add"},
                                             {"activity", "edit"},
                                             {"activity", "end"},
                                             {"activity", "remove"},
                                             {"activity", "list"},
                                             {"ad", "set"},
                                             {"ad", "clear"}}) {
    std::vector<std::string> arguments = {ORVANE_SERVICE};
    arguments.insert(arguments.end(), words.begin(), words.end());
    arguments.push_back("--help");
    const RunResult result = support::Run(arguments);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_NE(result.output.find("Usage:"), std::string::npos) << result.output;
  }
  EXPECT_FALSE(std::filesystem::exists(Database()));
}

TEST_F(CommandsTest, WhatIsNotUnderstoodHasStatusTwo) {
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"fly"},
                                             {"account"},
                                             {"account", "add"},
                                             {"account", "add", "a", "b"},
                                             {"account", "list", "--nonsense"},
                                             {"activity", "add", "--title", "t"},
                                             {"serve", "--port", "0"},
                                             {"serve", "--port", "70000"},
                                             {"serve", "--port", "x"},
                                             {"serve", "--listen", "localhost"},
                                             {"serve", "--session-hours", "0"},
                                             {"account", "add", "a", "--password", "p"}}) {
    const RunResult result = Command(words);
    EXPECT_EQ(result.status, 2) << words.back() << result.output;
  }
}

TEST_F(CommandsTest, AccountsAreAddedListedChangedAndRemoved) {
  EXPECT_EQ(AddAccount("user"), 0);
  EXPECT_EQ(AddAccount("user"), 1);
  EXPECT_EQ(AddAccount("üser' --"), 0);
  RunResult list = Command({"account", "list"});
  EXPECT_NE(list.output.find("user\t"), std::string::npos);
  EXPECT_NE(list.output.find("üser' --\t"), std::string::npos) << list.output;
  EXPECT_EQ(list.output.find("argon2"), std::string::npos);
  EXPECT_EQ(Command({"account", "passwd", "user"}, "changed\n").status, 0);
  EXPECT_EQ(Command({"account", "passwd", "nobody"}, "changed\n").status, 1);
  EXPECT_EQ(Command({"account", "remove", "user"}).status, 0);
  EXPECT_EQ(Command({"account", "remove", "user"}).status, 1);
  struct stat status {};
  ASSERT_EQ(stat(Database().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(CommandsTest, NamesAndPasswordsThatCannotBeSentAreRefusedWhenTheyAreMade) {
  EXPECT_EQ(AddAccount("直播"), 1);
  EXPECT_EQ(AddAccount(""), 1);
  EXPECT_EQ(AddAccount("a\nb"), 1);
  EXPECT_EQ(AddAccount(std::string(256, 'x')), 1);
  for (const char* password : {"密码\n", "", "\n", "tab\there\n", "\xff\xfe\n"}) {
    EXPECT_EQ(AddAccount("user", password), 1) << password;
  }
  EXPECT_EQ(AddAccount("user", std::string(1025, 'x') + "\n"), 1);
  EXPECT_EQ(Command({"account", "list"}).output, "");
  EXPECT_EQ(AddAccount("user", "pässword without end"), 0);
  EXPECT_EQ(AddAccount("windows", "secret\r\n"), 0);
}

TEST_F(CommandsTest, APasswordFromStandardInputIsWhatLogsIn) {
  ASSERT_EQ(AddAccount("user", "pä'ss\nsecond line\n"), 0);
  QString error;
  const auto store = service::Store::Open(QString::fromStdString(Database()), &error);
  service::Account account;
  ASSERT_EQ(store->FindAccount(QStringLiteral("user"), &account), service::Outcome::Done);
  service::InitSecrets();
  EXPECT_TRUE(service::PasswordMatches(account.passwordHash.toStdString(), "p\xe4'ss"));
}

TEST_F(CommandsTest, OnATerminalThePasswordIsAskedForTwiceAndNotShown) {
  Terminal terminal({ORVANE_SERVICE, "account", "add", "user", "--database", Database()});
  ASSERT_TRUE(terminal.Expect("Password: ")) << terminal.shown;
  ASSERT_TRUE(support::WaitFor([&] { return !terminal.Echoes(); }, 20000));
  terminal.Type("topsecret\n");
  ASSERT_TRUE(terminal.Expect("Once more: ")) << terminal.shown;
  ASSERT_TRUE(support::WaitFor([&] { return !terminal.Echoes(); }, 20000));
  terminal.Type("topsecret\n");
  EXPECT_EQ(terminal.Wait(), 0) << terminal.shown;
  EXPECT_EQ(terminal.shown.find("topsecret"), std::string::npos);
}

TEST_F(CommandsTest, AnInterruptedQuestionLeavesTheTerminalAsItWas) {
  Terminal terminal({ORVANE_SERVICE, "account", "add", "user", "--database", Database()});
  ASSERT_TRUE(terminal.Expect("Password: "));
  ASSERT_TRUE(support::WaitFor([&] { return !terminal.Echoes(); }, 20000));
  terminal.Type("\x03");
  EXPECT_EQ(terminal.Wait(), -SIGINT);
  EXPECT_TRUE(terminal.Echoes());
}

TEST_F(CommandsTest, ActivitiesAreAddedChangedAndRemoved) {
  ASSERT_EQ(AddAccount("user"), 0);
  const std::string id = AddActivity({"--start", "2024-06-07T20:00", "--cover", Png("c.png")});
  ASSERT_EQ(id.size(), 16u);
  std::string list = Command({"activity", "list"}).output;
  EXPECT_NE(list.find(id + "\tuser\t2024-06-07T20:00:00\topen\t直播\trtmp://127.0.0.1:1935/live/"),
            std::string::npos)
      << list;
  EXPECT_EQ(Command({"activity", "edit", id, "--title", "x", "--closed", "--publish",
                     "rtmp://platform.example/app/key"})
                .status,
            0);
  list = Command({"activity", "list"}).output;
  EXPECT_NE(list.find("closed\tx\trtmp://platform.example/app/key"), std::string::npos) << list;
  EXPECT_EQ(Command({"activity", "edit", id, "--open", "--publish", ""}).status, 0);
  EXPECT_EQ(Command({"activity", "end", id}).status, 1) << "nothing runs";
  EXPECT_EQ(Command({"activity", "remove", id}).status, 0);
  EXPECT_EQ(Command({"activity", "remove", id}).status, 1);
  EXPECT_EQ(Command({"activity", "edit", id, "--title", "y"}).status, 1);
}

TEST_F(CommandsTest, ActivitiesAreListedWithTheAddressThatTheServiceTells) {
  ASSERT_EQ(AddAccount("user"), 0);
  ASSERT_NE(AddActivity(), "");
  // A service that has started with these options, and ends.
  const auto serve = [this](const std::vector<std::string>& more) {
    const std::string output = directory.File("output" + more.back());
    std::vector<std::string> all = {ORVANE_SERVICE, "serve",  "--database",
                                    Database(),     "--port", std::to_string(support::FreePort())};
    all.insert(all.end(), more.begin(), more.end());
    support::Process service;
    const auto started = [&] {
      return support::ReadFile(output).find("\"started\"") != std::string::npos;
    };
    return service.Start(all, {}, output) && support::WaitFor(started, 20000);
  };
  ASSERT_TRUE(serve({"--rtmp-port", "2935"}));
  std::string list = Command({"activity", "list"}).output;
  EXPECT_NE(list.find("\trtmp://127.0.0.1:2935/live/"), std::string::npos) << list;
  // The one that listens everywhere tells each client another name; from here it is the loopback.
  ASSERT_TRUE(serve({"--ingest-host", "0.0.0.0"}));
  list = Command({"activity", "list"}).output;
  EXPECT_NE(list.find("\trtmp://127.0.0.1:1935/live/"), std::string::npos) << list;
  ASSERT_TRUE(serve({"--ingest-host", "::1", "--rtmp-port", "2936"}));
  list = Command({"activity", "list"}).output;
  EXPECT_NE(list.find("\trtmp://[::1]:2936/live/"), std::string::npos) << list;
}

TEST_F(CommandsTest, ValuesThatCannotBeAreRefusedAndNothingIsKept) {
  ASSERT_EQ(AddAccount("user"), 0);
  EXPECT_EQ(Command({"activity", "add", "--account", "no", "--title", "t"}).status, 1);
  std::ofstream(directory.File("text.png")) << "no picture";
  for (const std::vector<std::string>& bad :
       std::vector<std::vector<std::string>>{{"--publish", "http://x/y"},
                                             {"--publish", "rtmp://"},
                                             {"--publish", "rtmp://a b/c"},
                                             {"--publish", "rtmp://x/" + std::string(1100, 'k')},
                                             {"--start", "tomorrow"},
                                             {"--start", "1900-01-01T00:00"},
                                             {"--start", "2200-01-01T00:00"},
                                             {"--title", ""},
                                             {"--title", "a\tb"},
                                             {"--title", std::string(300, 't')},
                                             {"--cover", directory.File("text.png")},
                                             {"--cover", directory.File("none")},
                                             {"--cover", directory.Path()}}) {
    EXPECT_EQ(AddActivity(bad), "") << bad[0] << bad[1];
  }
  EXPECT_EQ(Command({"activity", "list"}).output, "");
}

TEST_F(CommandsTest, TheAdvertisementIsSetAndCleared) {
  EXPECT_EQ(Command({"ad", "set", Png("ad.png")}).status, 0);
  EXPECT_EQ(Command({"ad", "set", directory.File("none.png")}).status, 1);
  EXPECT_EQ(Command({"ad", "clear"}).status, 0);
  EXPECT_EQ(Command({"ad", "clear"}).status, 0);
}

TEST_F(CommandsTest, ADatabaseThatCannotBeUsedHasStatusThreeAndIsNamed) {
  std::ofstream(Database()) << std::string(5000, 'g');
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"account", "list"},
           {"activity", "list"},
           {"account", "remove", "u"},
           {"ad", "clear"},
           {"serve", "--port", std::to_string(support::FreePort())}}) {
    const RunResult result = Command(words);
    EXPECT_EQ(result.status, 3) << result.output;
    EXPECT_NE(result.output.find("db.sqlite"), std::string::npos) << result.output;
  }
  EXPECT_EQ(support::ReadFile(Database()), std::string(5000, 'g')) << "left as it was";
}

TEST_F(CommandsTest, ServeEndsOnSigtermAndKeepsItsLogFreeOfSecrets) {
  const int port = support::FreePort();
  support::Process service;
  const std::string output = directory.File("output");
  ASSERT_TRUE(service.Start(
      {ORVANE_SERVICE, "serve", "--database", Database(), "--port", std::to_string(port)}, {},
      output));
  ASSERT_TRUE(support::WaitFor(
      [&] { return support::ReadFile(output).find("\"started\"") != std::string::npos; }, 20000));
  const std::string shown = support::ReadFile(output);
  const std::string mark = "with the password \"";
  const std::size_t at = shown.find(mark) + mark.size();
  const std::string password = shown.substr(at, shown.find('"', at) - at);
  const std::string log = shown.substr(shown.find('{'));
  const support::HttpReply reply =
      support::PostForm(port, "/assistant/user/login", {{"login", "demo"}, {"password", password}});
  EXPECT_EQ(support::CodeOf(reply), 0) << reply.body;
  support::PostForm(port, "/assistant/user/login",
                    {{"login", std::string(4000, 'L')}, {"password", "hunter2"}});

  const RunResult second = Command({"serve", "--port", std::to_string(port)});
  EXPECT_EQ(second.status, 4);
  EXPECT_NE(second.output.find("in use"), std::string::npos) << second.output;

  service.Signal(SIGTERM);
  EXPECT_EQ(service.Wait(30000), 0);
  const std::string all = support::ReadFile(output);
  const std::string lines = all.substr(all.find('{'));
  EXPECT_NE(lines.find("\"event\":\"ended\""), std::string::npos);
  EXPECT_EQ(lines.find(password), std::string::npos);
  EXPECT_EQ(lines.find("hunter2"), std::string::npos);
  EXPECT_EQ(lines.find(support::TextOf(reply, "token")), std::string::npos);
  EXPECT_EQ(lines.find(std::string(300, 'L')), std::string::npos) << "lines have a bound";

  // The second start makes no second account.
  ASSERT_TRUE(service.Start(
      {ORVANE_SERVICE, "serve", "--database", Database(), "--port", std::to_string(port)}, {},
      directory.File("again")));
  ASSERT_TRUE(support::WaitFor(
      [&] {
        return support::ReadFile(directory.File("again")).find("\"started\"") != std::string::npos;
      },
      20000));
  EXPECT_EQ(support::ReadFile(directory.File("again")).find("First start"), std::string::npos);
}
