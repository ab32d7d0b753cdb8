#include "platform/linux/WindowTitle.h"

#include <iconv.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <utility>

#include "platform/linux/Utf8.h"

namespace platform {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr char kEscape = '\x1b';

unsigned char Byte(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

std::string_view UpToZero(std::string_view bytes) {
  return bytes.substr(0, bytes.find('\0'));
}

// The encodings that X's own locales name in compound text, as iconv knows them. A title is a
// stranger's: it must not have just any module of the system loaded.
constexpr std::string_view kNamed[] = {
    "ARMSCII-8",        "BIG5",        "BIG5-HKSCS", "BIG5HKSCS",  "CP1133",
    "CP1251",           "CP1255",      "CP1256",     "GB18030",    "GBK",
    "GEORGIAN-ACADEMY", "GEORGIAN-PS", "ISO8859-10", "ISO8859-13", "ISO8859-14",
    "ISO8859-15",       "ISO8859-16",  "KOI8-R",     "KOI8-T",     "KOI8-U",
    "TCVN5712-1",       "TIS-620",     "UTF-8",      "VISCII"};

bool IsNamed(std::string name) {
  for (char& letter : name) {
    if (letter >= 'a' && letter <= 'z') {
      letter = static_cast<char>(letter - 'a' + 'A');
    }
  }
  return std::find(std::begin(kNamed), std::end(kNamed), name) != std::end(kNamed);
}

// The converters of one title to UTF-8: each character set is opened once, however often it is
// chosen.
class Converters {
 public:
  Converters() = default;
  ~Converters() {
    for (const auto& [set, converter] : m_opened) {
      if (converter != kNone) {
        iconv_close(converter);
      }
    }
  }
  Converters(const Converters&) = delete;
  Converters& operator=(const Converters&) = delete;

  // Gives bytes, which are in the character set of that name, as UTF-8.
  std::string Convert(const std::string& set, std::string bytes);

 private:
  static inline const iconv_t kNone = reinterpret_cast<iconv_t>(-1);

  std::map<std::string, iconv_t> m_opened;
};

std::string Converters::Convert(const std::string& set, std::string bytes) {
  const auto [opened, isNew] = m_opened.emplace(set, kNone);
  if (isNew) {
    opened->second = iconv_open("UTF-8", set.c_str());
  }
  const iconv_t converter = opened->second;
  if (converter == kNone) {
    return bytes.empty() ? "" : kReplacement;
  }
  iconv(converter, nullptr, nullptr, nullptr, nullptr);  // as new
  std::string result;
  char* in = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    char out[256];
    char* end = out;
    std::size_t room = sizeof out;
    const std::size_t converted = iconv(converter, &in, &left, &end, &room);
    result.append(out, sizeof out - room);
    if (converted == static_cast<std::size_t>(-1) && room == sizeof out) {
      result += kReplacement;
      ++in;
      --left;
    }
  }
  return result;
}

// Reads compound text. Two character sets are chosen at any time, one for bytes below 0x80 and one
// for those above; escape sequences choose others.
class CompoundReader {
 public:
  explicit CompoundReader(std::string_view text) : m_text(text) {}

  std::string Read() {
    while (!m_text.empty()) {
      if (m_text[0] == kEscape) {
        m_text.remove_prefix(1);
        Escape();
      } else {
        Run();
      }
    }
    return std::move(m_result);
  }

 private:
  struct Set {
    const char* name;
    bool wide;     // two bytes a character
    bool shifted;  // iconv wants it with the high bits set, wherever it was chosen for
  };

  static constexpr Set kAscii = {"ISO-8859-1", false, false};
  static constexpr Set kUnknown = {nullptr, false, false};

  bool Skip(std::string_view start) {
    if (m_text.substr(0, start.size()) != start) {
      return false;
    }
    m_text.remove_prefix(start.size());
    return true;
  }

  char Final() {
    const char final = m_text.empty() ? '\0' : m_text[0];
    m_text.remove_prefix(m_text.empty() ? 0 : 1);
    return final;
  }

  static Set Wide(char final) {
    switch (final) {
      case 'A':
        return {"EUC-CN", true, true};
      case 'B':
        return {"EUC-JP", true, true};
      case 'C':
        return {"EUC-KR", true, true};
      default:
        return {nullptr, true, true};
    }
  }

  static Set Latin(char final) {
    switch (final) {
      case 'A':
        return {"ISO-8859-1", false, true};
      case 'B':
        return {"ISO-8859-2", false, true};
      case 'C':
        return {"ISO-8859-3", false, true};
      case 'D':
        return {"ISO-8859-4", false, true};
      case 'F':
        return {"ISO-8859-7", false, true};
      case 'G':
        return {"ISO-8859-6", false, true};
      case 'H':
        return {"ISO-8859-8", false, true};
      case 'L':
        return {"ISO-8859-5", false, true};
      case 'M':
        return {"ISO-8859-9", false, true};
      default:
        return kUnknown;
    }
  }

  // ASCII, and JIS X 0201: 'J' is ASCII but for two characters, 'I' its half-width kana.
  static Set Narrow(char final) {
    return final == 'I' ? Set{"SHIFT_JIS", false, true}
                        : (final == 'B' || final == 'J' ? kAscii : kUnknown);
  }

  void Escape() {
    if (Skip("$(")) {
      m_low = Wide(Final());
    } else if (Skip("$)")) {
      m_high = Wide(Final());
    } else if (Skip("(")) {
      m_low = Narrow(Final());
    } else if (Skip(")")) {
      m_high = Narrow(Final());
    } else if (Skip("-")) {
      m_high = Latin(Final());
    } else if (Skip("%G")) {
      Utf8();
    } else if (Skip("%/")) {
      Extended();
    }
  }

  // Up to the escape sequence that goes back.
  void Utf8() {
    const std::size_t end = m_text.find("\x1b%@");
    m_result += TitleFromUtf8(m_text.substr(0, end));
    m_text.remove_prefix(end == std::string_view::npos ? m_text.size() : end + 3);
  }

  // A stretch of given length in a named encoding: kind, two bytes of length, name, 0x02, bytes.
  void Extended() {
    if (m_text.size() < 3) {
      m_text = {};
      return;
    }
    const std::size_t length = (Byte(m_text, 1) & 0x7fU) * 128U + (Byte(m_text, 2) & 0x7fU);
    const std::string_view body = m_text.substr(3, length);
    m_text.remove_prefix(3 + body.size());
    const std::size_t split = body.find('\x02');
    if (split == std::string_view::npos) {
      m_result += kReplacement;
      return;
    }
    // X ends names of encodings with "-0", which iconv does not know.
    std::string name(body.substr(0, split));
    if (name.size() > 2 && name.compare(name.size() - 2, 2, "-0") == 0) {
      name.resize(name.size() - 2);
    }
    m_result += IsNamed(name)
                    ? TitleFromUtf8(m_converters.Convert(name, std::string(body.substr(split + 1))))
                    : kReplacement;
  }

  // Bytes of one half up to the next escape sequence or byte of the other half.
  void Run() {
    const bool high = Byte(m_text, 0) >= 0x80;
    std::size_t end = 0;
    while (end < m_text.size() && m_text[end] != kEscape && (Byte(m_text, end) >= 0x80) == high) {
      ++end;
    }
    std::string bytes(m_text.substr(0, end));
    m_text.remove_prefix(end);
    const Set& set = high ? m_high : m_low;
    if (set.name == nullptr) {
      m_result += kReplacement;
      return;
    }
    for (char& byte : bytes) {
      // Controls and the space keep their meaning among characters of two bytes.
      if (set.shifted && static_cast<unsigned char>(byte) > 0x20) {
        byte = static_cast<char>(static_cast<unsigned char>(byte) | 0x80U);
      }
    }
    m_result += m_converters.Convert(set.name, std::move(bytes));
  }

  std::string_view m_text;  // what is left
  std::string m_result;
  Converters m_converters;
  Set m_low = kAscii;
  Set m_high = Latin('A');
};

}  // namespace

std::string TitleFromUtf8(std::string_view bytes) {
  return WellFormedUtf8(UpToZero(bytes), kReplacement);
}

std::string TitleFromLatin1(std::string_view bytes) {
  return Converters().Convert("ISO-8859-1", std::string(UpToZero(bytes)));
}

std::string TitleFromCompoundText(std::string_view bytes) {
  return CompoundReader(UpToZero(bytes)).Read();
}

}  // namespace platform
