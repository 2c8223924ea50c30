// Lays out lines of offset, bytes and text, for a terminal of 80 columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/output.h"

namespace qmsg {

// A piece of a line, and its look where colours are wanted.
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

  // Writes all of these bytes, and beside them the pieces, wrapped between words. There may be no
  // bytes.
  void Field(std::uint64_t offset, std::string_view bytes, std::size_t level,
             const std::vector<Piece>& pieces);

  // What Content shows beside the bytes.
  enum class Beside { kText, kNothing };

  // Writes the bytes of a value: all of them if `full`, otherwise one line that says how many bytes
  // it omits.
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
  std::size_t pending_ = 0;  // spaces, which are not written at the end of a line
};

}  // namespace qmsg
