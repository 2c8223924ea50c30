#include <google/protobuf/descriptor.h>
#include <qmsg/login.pb.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include "inputs.h"
#include "support/wire.h"

namespace differential {
namespace {

using namespace std::string_literals;
using quor::protobuf::Login::Login;

// First and last bytes of what is allowed to follow the different first bytes, and their
// neighbours.
const std::string kContinuations = "\x7f\x80\x8f\x90\x9f\xa0\xbf\xc0\xff"s;
const std::string kFirstBytes =
    "\x00\x41\x7f\x80\xbf\xc0\xc1\xc2\xdf\xe0\xe1\xec\xed\xee\xef\xf0\xf3\xf4\xf5\xf7\xf8\xfc\xfe\xff"s;

// Where a fast path stops reading eight or sixteen bytes at once.
constexpr std::size_t kPlaces[] = {0, 13, 14, 15, 16, 31, 61};

const std::vector<std::string>& Characters() {
  static const std::vector<std::string> characters = {
      "\0"s,           "\x7f"s,         "\xc2\x80"s,         "\xdf\xbf"s,
      "\xe0\xa0\x80"s, "\xed\x9f\xbf"s, "\xee\x80\x80"s,     "\xef\xbf\xbf"s,
      "\xe2\x82\xac"s, "\xef\xbb\xbf"s, "\xf0\x90\x80\x80"s, "\xf4\x8f\xbf\xbf"s};
  return characters;
}

const std::vector<std::string>& NotCharacters() {
  static const std::vector<std::string> sequences = {"\xff"s,
                                                     "\x80"s,          // a continuation of nothing
                                                     "\xc3"s,          // cut short
                                                     "\xe2\x82"s,      //
                                                     "\xf0\x9f\x98"s,  //
                                                     "\xc0\x80"s,  // in more bytes than it needs
                                                     "\xe0\x9f\xbf"s,      //
                                                     "\xf0\x8f\xbf\xbf"s,  //
                                                     "\xed\xa0\x80"s,  // half of a surrogate pair
                                                     "\xed\xbf\xbf"s,  //
                                                     "\xf4\x90\x80\x80"s,  // beyond U+10FFFF
                                                     "\xf5\x80\x80\x80"s,  //
                                                     "\xf8\x88\x80\x80\x80"s};
  return sequences;
}

std::string Ascii(std::size_t length) {
  std::string text(length, ' ');
  for (std::size_t i = 0; i < length; ++i) {
    text[i] = static_cast<char>('!' + i % 90);
  }
  return text;
}

// Replaces as many bytes of a text, or those at its end if there are fewer.
std::string Put(std::string text, std::size_t place, const std::string& sequence) {
  return text.replace(place, sequence.size(), sequence);
}

void VisitText(const FieldDescriptor* field, const Message* prototype, const std::string& text,
               Detail detail, const Visitor& visit) {
  visit({prototype, contract::wire::LengthDelimitedField(field->number(), text), detail, field,
         text});
}

using VisitOne = std::function<void(const std::string& text)>;

void ForEachTextOfAField(const VisitOne& visit) {
  for (std::size_t length = 0; length <= 70; ++length) {
    visit(Ascii(length));
  }
  for (const std::size_t length : {127U, 128U, 129U, 255U, 256U, 1000U, 16383U, 16384U}) {
    visit(Ascii(length));
    visit(Put(Ascii(length), length - 1, "\xff"));
  }
  for (const std::size_t length : {1U, 8U, 17U, 33U, 66U}) {
    for (std::size_t place = 0; place < length; place += 1 + place / 20) {
      visit(Put(Ascii(length), place, "\xff"));
    }
  }
  for (const std::string& character : Characters()) {
    visit(character);
    visit(Put(Ascii(40), 14, character));
  }
  for (const std::string& sequence : NotCharacters()) {
    visit(sequence);
    visit(Put(Ascii(40), 14, sequence));
  }
}

// Each sequence alone, and at all places of a text.
void VisitAtPlaces(const std::string& sequence, const VisitOne& visit) {
  visit(sequence);
  for (const std::size_t place : kPlaces) {
    visit(Put(Ascii(64), place, sequence));
  }
}

void ForEachShortSequence(const VisitOne& visit) {
  std::string sequence(1, '\0');
  for (int first = 0; first <= 0xff; ++first) {
    sequence.assign(1, static_cast<char>(first));
    visit(sequence);
    for (int second = 0; second <= 0xff; ++second) {
      sequence.resize(1);
      sequence += static_cast<char>(second);
      visit(sequence);
      for (int third = 0; (first & 0xf0) == 0xe0 && third <= 0xff; ++third) {
        sequence.resize(2);
        sequence += static_cast<char>(third);
        visit(sequence);
      }
    }
  }
}

void ForEachSequenceAtABorder(const VisitOne& visit) {
  for (const char first : kFirstBytes) {
    for (const char second : kContinuations) {
      VisitAtPlaces({first, second}, visit);
      for (const char third : kContinuations) {
        VisitAtPlaces({first, second, third}, visit);
      }
    }
  }
  for (int first = 0xf0; first <= 0xf7; ++first) {
    for (const char second : kContinuations) {
      for (const char third : kContinuations) {
        for (const char fourth : kContinuations) {
          VisitAtPlaces({static_cast<char>(first), second, third, fourth}, visit);
        }
      }
    }
  }
}

void ForEachPlaceInATextOfEachLength(const VisitOne& visit) {
  for (std::size_t length = 1; length <= 66; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (const std::string& character : Characters()) {
        visit(Put(Ascii(length), place, character));
      }
      for (const std::string& sequence : NotCharacters()) {
        visit(Put(Ascii(length), place, sequence));
      }
    }
  }
}

}  // namespace

void ForEachText(const Visitor& visit) {
  for (const Message* prototype : contract::Prototypes()) {
    for (const FieldDescriptor* field : contract::Fields(*prototype)) {
      if (field->type() == FieldDescriptor::TYPE_STRING) {
        ForEachTextOfAField([&](const std::string& text) {
          VisitText(field, prototype, text, Detail::kFull, visit);
        });
      }
    }
  }
  const VisitOne in_one_field = [&](const std::string& text) {
    VisitText(Login::descriptor()->field(0), &Login::default_instance(), text, Detail::kVerdict,
              visit);
  };
  ForEachPlaceInATextOfEachLength(in_one_field);
  ForEachSequenceAtABorder(in_one_field);
  ForEachShortSequence(in_one_field);
}

}  // namespace differential
