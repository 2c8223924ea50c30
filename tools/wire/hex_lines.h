// Lays out lines of offset, bytes and text, for a terminal of 80 columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/output.h"

namespace qmsg {

// A piece of a line, and how it looks where colours are welcome.
struct Piece {
  enum class Look { kPlain, kName, kFault, kDim };

  std::string text;
  Look look = Look::kPlain;
};

class HexLines {
 public:
  static constexpr std::size_t kBytes = 8;  // in a line, at most

  // `full`: whether Content writes all of its bytes.
  HexLines(Output& output, bool colour, bool full)
      : output_(output), colour_(colour), full_(full) {}

  // Names the columns.
  void Title(const std::string& text);

  // All of these bytes, in as many lines as they need, and beside them the pieces, broken between
  // words where they are too long for a line. There may be no bytes.
  void Field(std::uint64_t offset, std::string_view bytes, std::size_t level,
             const std::vector<Piece>& pieces);

  // What stands beside the bytes of Content.
  enum class Beside { kText, kNothing };

  // The bytes of a value. Unless in full they take one line, which says how many bytes it lacks.
  void Content(std::uint64_t offset, std::string_view bytes, std::size_t level, Beside beside);

  bool full() const { return full_; }

  // A word of a text to be broken.
  struct Word {
    std::string text;
    Piece::Look look;
    bool space_before;
  };

 private:
  void Begin(std::uint64_t offset, std::string_view bytes, bool more);
  void Indent(std::size_t level);
  void Fill(const std::vector<Word>& words, std::size_t& next, std::size_t level, bool first);
  void Write(std::string_view text, Piece::Look look);
  void EndLine();
  std::size_t Room() const;
  void ShortContent(std::uint64_t offset, std::string_view bytes, std::size_t level, Beside beside);
  void FullContent(std::uint64_t offset, std::string_view bytes, std::size_t level, Beside beside);

  Output& output_;
  bool colour_;
  bool full_;
  std::size_t column_ = 0;
  std::size_t pending_ = 0;  // spaces, which a line does not end with
};

}  // namespace qmsg
