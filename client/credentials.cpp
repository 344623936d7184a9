#include "client/credentials.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

namespace orv::client {
namespace {

[[noreturn]] void fail(const std::string& what) { throw CredentialError(what); }

/// The words of a .netrc file, in order.
class Words {
 public:
  explicit Words(std::string_view text) : rest_(text) {}

  /// Skips comments: "#" starts one where a keyword may stand. Absent at the end.
  std::optional<std::string> keyword() {
    skipSpaces();
    while (!rest_.empty() && rest_.front() == '#') {
      advance(std::min(rest_.find('\n'), rest_.size()));
      skipSpaces();
    }
    return next();
  }
  /// The word after a keyword, which may start with "#". Fails: CredentialError naming `what`.
  std::string value(const char* what) {
    std::optional<std::string> word = next();
    if (!word) fail("line " + std::to_string(line_) + ": " + what + " is missing");
    return *word;
  }
  /// Skips the text of a macro, which ends with an empty line.
  void skipMacro() {
    const std::size_t end = rest_.find("\n\n");
    advance(end == std::string_view::npos ? rest_.size() : end + 2);
  }
  int line() const { return line_; }

 private:
  static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

  void advance(std::size_t count) {
    line_ += static_cast<int>(
        std::count(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(count), '\n'));
    rest_.remove_prefix(count);
  }
  void skipSpaces() {
    while (!rest_.empty() && isSpace(rest_.front())) advance(1);
  }
  std::optional<std::string> next() {
    skipSpaces();
    if (rest_.empty()) return std::nullopt;
    return rest_.front() == '"' ? quoted() : plain();
  }
  std::string plain() {
    std::size_t end = 0;
    while (end < rest_.size() && !isSpace(rest_[end])) ++end;
    std::string word(rest_.substr(0, end));
    advance(end);
    return word;
  }
  std::string quoted() {
    std::string word;
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      if (rest_[i] == '"') {
        advance(i + 1);
        return word;
      }
      if (rest_[i] == '\\' && i + 1 < rest_.size()) ++i;
      word += rest_[i];
    }
    fail("line " + std::to_string(line_) + ": a quoted word has no end");
  }

  std::string_view rest_;
  int line_ = 1;
};

std::string errorText() { return std::strerror(errno); }

/// The terminal of this process, with echo off for as long as the object exists.
class SilentTerminal {
 public:
  SilentTerminal() : descriptor_(open("/dev/tty", O_RDWR | O_CLOEXEC)) {
    if (descriptor_ < 0) return;
    termios silent{};
    known_ = tcgetattr(descriptor_, &before_) == 0;
    silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    silent.c_lflag |= ECHONL | ICANON;
    if (known_) tcsetattr(descriptor_, TCSAFLUSH, &silent);
  }
  ~SilentTerminal() {
    if (known_) tcsetattr(descriptor_, TCSAFLUSH, &before_);
    if (descriptor_ >= 0) close(descriptor_);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  bool isThere() const { return descriptor_ >= 0 && known_; }
  bool write(const std::string& text) const {
    return ::write(descriptor_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  }
  /// Absent at the end of the input.
  std::optional<std::string> readLine() const {
    constexpr std::size_t kLongest = 4096;
    std::string line;
    for (char c = 0; line.size() < kLongest; line += c) {
      if (::read(descriptor_, &c, 1) != 1) return std::nullopt;
      if (c == '\n') return line;
    }
    return std::nullopt;
  }

 private:
  int descriptor_;
  bool known_ = false;
  termios before_{};
};

}  // namespace

Netrc::Netrc(std::string_view text) {
  Words words(text);
  while (const std::optional<std::string> word = words.keyword()) {
    if (*word == "machine") {
      entries_.push_back({words.value("the machine's name"), "", ""});
    } else if (*word == "default") {
      entries_.emplace_back();
    } else if (*word == "macdef") {
      words.skipMacro();
    } else if (*word == "login" || *word == "password" || *word == "account") {
      const std::string value = words.value("a value");
      if (entries_.empty()) fail("line " + std::to_string(words.line()) + ": no machine is named");
      if (*word == "login") entries_.back().user = value;
      if (*word == "password") entries_.back().password = value;
    } else {
      // Not the word itself: it may be a password.
      fail("line " + std::to_string(words.line()) + ": expected machine, login or password");
    }
  }
}

std::optional<Login> Netrc::find(const std::string& machine, const std::string& user) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    const bool isMachine = entry.machine.empty() || entry.machine == machine;
    return isMachine && !entry.password.empty() &&
           (user.empty() ? !entry.user.empty() : entry.user == user || entry.user.empty());
  });
  if (found == entries_.end()) return std::nullopt;
  return Login{user.empty() ? found->user : user, found->password};
}

std::string passwordFromFile(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  if (!in) fail("password file " + path + " cannot be read: " + errorText());
  if (!std::getline(in, line) || line.empty()) fail("the first line of " + path + " is empty");
  if (line.back() == '\r') line.pop_back();
  return line;
}

std::string passwordFromTerminal(const std::string& prompt) {
  const SilentTerminal terminal;
  if (!terminal.isThere()) {
    fail("there is no terminal at which to ask for the password; use ~/.netrc or --password-file");
  }
  if (!terminal.write(prompt)) fail("the terminal cannot be written to: " + errorText());
  std::optional<std::string> line = terminal.readLine();
  if (!line) fail("no password was given");
  return *line;
}

Credentials::Credentials(Settings settings) : settings_(std::move(settings)) {
  if (!settings_.passwordFile.empty()) filePassword_ = passwordFromFile(settings_.passwordFile);
  std::ifstream in(settings_.netrcFile);
  if (settings_.netrcFile.empty() || !in) return;
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  try {
    netrc_ = Netrc(text);
  } catch (const CredentialError& error) {
    fail(settings_.netrcFile + ", " + error.what());
  }
}

std::optional<Login> Credentials::of(const ServerUrl& url) {
  if (filePassword_) {
    if (url.user.empty()) fail("--password-file needs a user in the URL: https://user@host");
    return Login{url.user, *filePassword_};
  }
  std::optional<Login> known = netrc_.find(url.hostName(), url.user);
  if (known || url.user.empty()) return known;
  const auto typed = typed_.find(url.user);
  if (typed != typed_.end()) return Login{url.user, typed->second};
  const std::string password = settings_.prompt("Password of " + url.user + ": ");
  typed_[url.user] = password;
  return Login{url.user, password};
}

std::string defaultNetrcFile() {
  const char* home = std::getenv("HOME");
  return home == nullptr || *home == '\0' ? "" : std::string(home) + "/.netrc";
}

}  // namespace orv::client
