#include "wire/hex_lines.h"

#include <algorithm>

#include "io/escape.h"
#include "io/text.h"

namespace qmsg {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kOffsetDigits = 6;                   // at least
constexpr std::size_t kBytesWidth = 3 * HexLines::kBytes;  // with the space behind each
constexpr std::size_t kTextColumn = kOffsetDigits + 2 + kBytesWidth + 1;
constexpr std::size_t kMaxShownLevel = 10;  // that is shown by indentation
constexpr std::size_t kHanging = 4;         // more, for the second line of a field
constexpr std::size_t kLeastRoom = 12;      // for text
constexpr std::string_view kMore = "..";    // for bytes that are left out

std::string OffsetDigits(std::uint64_t offset) {
  const std::string digits = std::to_string(offset);
  return std::string(kOffsetDigits - std::min(kOffsetDigits, digits.size()), ' ') + digits;
}

std::string MoreBytes(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " more byte" : " more bytes");
}

using Word = HexLines::Word;

std::vector<Word> Words(const std::vector<Piece>& pieces) {
  std::vector<Word> words;
  bool space = false;
  for (const Piece& piece : pieces) {
    bool open = false;
    for (const char character : piece.text) {
      if (character == ' ') {
        space = true;
        open = false;
        continue;
      }
      if (!open) {
        words.push_back({"", piece.look, space});
        open = true;
        space = false;
      }
      words.back().text += character;
    }
  }
  return words;
}

}  // namespace

void HexLines::Title(const std::string& text) {
  const std::vector<Word> words = Words({{text, Piece::Look::kDim}});
  for (std::size_t next = 0; next < words.size();) {
    if (next == 0) {
      Write("offset  bytes", Piece::Look::kDim);
    }
    pending_ = kTextColumn - column_;
    column_ = kTextColumn;
    Fill(words, next, 0, next == 0);
    EndLine();
  }
}

// Writes the offset and the bytes; of nothing, if there are none.
void HexLines::Begin(std::uint64_t offset, std::string_view bytes, bool more) {
  const std::string digits = OffsetDigits(offset);
  std::string hex;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    hex += {kHexDigits[value >> 4U], kHexDigits[value & 15U], ' '};
  }
  hex += more ? kMore : "";
  if (bytes.empty()) {
    pending_ = digits.size();
  } else {
    Write(digits, Piece::Look::kDim);
  }
  if (!hex.empty()) {
    if (hex.back() == ' ') {
      hex.pop_back();
    }
    output_.Write("  " + hex);
  } else {
    pending_ += 2;
  }
  pending_ += kBytesWidth + 1 - hex.size();
  column_ = digits.size() + 2 + kBytesWidth + 1;
}

void HexLines::Indent(std::size_t level) {
  const std::size_t shown = std::min(level, kMaxShownLevel);
  pending_ += 2 * shown;
  column_ += 2 * shown;
  if (level > kMaxShownLevel) {
    Write("[" + std::to_string(level) + "] ", Piece::Look::kPlain);
  }
}

void HexLines::Write(std::string_view text, Piece::Look look) {
  output_.Write(std::string(pending_, ' '));
  pending_ = 0;
  const bool dressed = colour_ && look != Piece::Look::kPlain;
  if (dressed) {
    output_.Write(look == Piece::Look::kName  ? "\x1b[1m"
                  : look == Piece::Look::kDim ? "\x1b[2m"
                                              : "\x1b[31m");
  }
  output_.Write(text);
  if (dressed) {
    output_.Write("\x1b[0m");
  }
  column_ += text.size();
}

void HexLines::EndLine() {
  output_.Write("\n");
  pending_ = 0;
  column_ = 0;
}

std::size_t HexLines::Room() const {
  return std::max(kWidth > column_ ? kWidth - column_ : 0, kLeastRoom);
}

// Writes as many words as go into the line.
void HexLines::Fill(const std::vector<Word>& words, std::size_t& next, std::size_t level,
                    bool first) {
  Indent(level);
  if (!first) {
    pending_ += kHanging;
    column_ += kHanging;
  }
  std::string run;  // of words that look the same
  std::size_t room = Room();
  for (bool empty = true; next < words.size(); ++next, empty = false) {
    const Word& word = words[next];
    const std::string text = (word.space_before && !empty ? " " : "") + word.text;
    if (!empty && text.size() > room) {
      break;
    }
    if (!empty && word.look != words[next - 1].look) {
      Write(run, words[next - 1].look);
      run.clear();
    }
    run += text;
    room -= std::min(room, text.size());
  }
  Write(run, words[next - 1].look);
}

void HexLines::Field(std::uint64_t offset, std::string_view bytes, std::size_t level,
                     const std::vector<Piece>& pieces) {
  const std::vector<Word> words = Words(pieces);
  std::size_t next = 0;
  std::size_t done = 0;
  do {
    const bool first = next == 0;
    const std::string_view some = bytes.substr(done, kBytes);
    Begin(offset + done, some, false);
    done += some.size();
    if (next < words.size()) {
      Fill(words, next, level, first);
    }
    EndLine();
  } while (done < bytes.size() || next < words.size());
}

void HexLines::Content(std::uint64_t offset, std::string_view bytes, std::size_t level,
                       Beside beside) {
  full_ ? FullContent(offset, bytes, level, beside) : ShortContent(offset, bytes, level, beside);
}

void HexLines::ShortContent(std::uint64_t offset, std::string_view bytes, std::size_t level,
                            Beside beside) {
  const bool more = bytes.size() > kBytes;
  const std::string_view some = bytes.substr(0, more ? kBytes - 1 : kBytes);
  Begin(offset, some, more);
  Indent(level);
  if (beside == Beside::kNothing) {
    if (more) {
      Write(MoreBytes(bytes.size() - some.size()), Piece::Look::kPlain);
    }
    EndLine();
    return;
  }
  constexpr std::size_t kQuotes = 2;
  Shown shown = ShowText(bytes, Room() - kQuotes);
  std::string left_out;
  if (shown.size < bytes.size()) {
    const std::size_t taken = kQuotes + 4 + MoreBytes(bytes.size()).size();
    shown = ShowText(bytes, Room() > taken ? Room() - taken : 0);
    left_out = "... " + MoreBytes(bytes.size() - shown.size);
  }
  Write('"' + shown.text + '"' + left_out, Piece::Look::kPlain);
  EndLine();
}

// Each line shows the characters that begin in it.
void HexLines::FullContent(std::uint64_t offset, std::string_view bytes, std::size_t level,
                           Beside beside) {
  std::size_t shown = 0;
  for (std::size_t at = 0; at < bytes.size(); at += kBytes) {
    const std::string_view some = bytes.substr(at, kBytes);
    Begin(offset + at, some, false);
    if (beside == Beside::kText) {
      std::string text;
      while (shown < at + some.size()) {
        const Shown one = ShowCharacter(bytes.substr(shown));
        text += one.text;
        shown += one.size;
      }
      Indent(level);
      Write('"' + text + '"', Piece::Look::kPlain);
    }
    EndLine();
  }
}

}  // namespace qmsg
