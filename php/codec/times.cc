#include "codec/times.h"

#include <charconv>

namespace qmsg::php {
namespace {

constexpr std::int64_t kFirstSecond = -62135596800;  // of the year 1
constexpr std::int64_t kLastSecond = 253402300799;   // of the year 9999
constexpr std::int64_t kMostSeconds = 315576000000;  // of a duration: 10,000 years
constexpr std::int32_t kMostNanos = 999999999;
constexpr std::int64_t kSecondsPerDay = 86400;

struct Date {
  std::int64_t year;
  int month;
  int day;
};

bool IsLeap(std::int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysOfMonth(std::int64_t year, int month) {
  constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[static_cast<std::size_t>(month - 1)] + (month == 2 && IsLeap(year) ? 1 : 0);
}

// Both count days from 1 March of the year 0, so that a leap day is the last one of its year.
constexpr std::int64_t kDaysToEpoch = 719468;
constexpr std::int64_t kDaysOf400Years = 146097;

// The days of a year before a month that is counted from March, 0 to 11.
std::int64_t DaysBeforeMonth(std::int64_t month_from_march) {
  return (153 * month_from_march + 2) / 5;
}

std::int64_t DaysBeforeYear(std::int64_t year) {
  return 365 * year + year / 4 - year / 100 + year / 400;
}

std::int64_t DaysSinceEpoch(const Date& date) {
  const std::int64_t year = date.month > 2 ? date.year : date.year - 1;
  const int month = (date.month + 9) % 12;
  return DaysBeforeYear(year) + DaysBeforeMonth(month) + date.day - 1 - kDaysToEpoch;
}

// Of a day in the years 1 to 9999.
Date DateOf(std::int64_t days_since_epoch) {
  const std::int64_t days = days_since_epoch + kDaysToEpoch;
  std::int64_t year = days * 400 / kDaysOf400Years;
  while (DaysBeforeYear(year) > days) {
    --year;
  }
  while (DaysBeforeYear(year + 1) <= days) {
    ++year;
  }
  const std::int64_t day = days - DaysBeforeYear(year);
  const std::int64_t month = (5 * day + 2) / 153;
  return {month < 10 ? year : year + 1, static_cast<int>(month < 10 ? month + 3 : month - 9),
          static_cast<int>(day - DaysBeforeMonth(month) + 1)};
}

char* WriteDigits(char* to, std::int64_t number, int digits) {
  for (int i = digits - 1; i >= 0; --i) {
    to[i] = static_cast<char>('0' + number % 10);
    number /= 10;
  }
  return to + digits;
}

// Nothing, or a point and three, six or nine digits.
char* WriteFraction(char* to, std::int32_t nanos) {
  if (nanos == 0) {
    return to;
  }
  *to++ = '.';
  if (nanos % 1000000 == 0) {
    return WriteDigits(to, nanos / 1000000, 3);
  }
  return nanos % 1000 == 0 ? WriteDigits(to, nanos / 1000, 6) : WriteDigits(to, nanos, 9);
}

// Reads a text from its beginning.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool Skip(char wanted) {
    if (text_.empty() || text_.front() != wanted) {
      return false;
    }
    text_.remove_prefix(1);
    return true;
  }

  bool Digits(std::size_t count, int& number) {
    if (text_.size() < count) {
      return false;
    }
    number = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (!IsDigit(text_[i])) {
        return false;
      }
      number = 10 * number + (text_[i] - '0');
    }
    text_.remove_prefix(count);
    return true;
  }

  bool Number(std::int64_t& number) {
    if (text_.empty() || !IsDigit(text_.front())) {
      return false;
    }
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + text_.size(), number);
    text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
    return error == std::errc();
  }

  // Nothing, or a point and one to nine digits.
  bool Fraction(std::int32_t& nanos) {
    nanos = 0;
    if (!Skip('.')) {
      return true;
    }
    int digits = 0;
    for (; digits < 9 && !text_.empty() && IsDigit(text_.front()); ++digits) {
      nanos = 10 * nanos + (text_.front() - '0');
      text_.remove_prefix(1);
    }
    for (int i = digits; i < 9; ++i) {
      nanos *= 10;
    }
    return digits > 0;
  }

  bool IsAtEnd() const { return text_.empty(); }

 private:
  static bool IsDigit(char character) { return character >= '0' && character <= '9'; }

  std::string_view text_;
};

// "Z", or "+01:00": the seconds by which the local time is ahead.
bool ReadOffset(Reader& reader, std::int64_t& seconds) {
  seconds = 0;
  if (reader.Skip('Z')) {
    return true;
  }
  const bool is_behind = reader.Skip('-');
  int hours = 0;
  int minutes = 0;
  if ((!is_behind && !reader.Skip('+')) || !reader.Digits(2, hours) || !reader.Skip(':') ||
      !reader.Digits(2, minutes) || hours > 23 || minutes > 59) {
    return false;
  }
  seconds = std::int64_t{60} * (60 * hours + minutes) * (is_behind ? -1 : 1);
  return true;
}

}  // namespace

std::size_t WriteTimestamp(Time time, TimeText& text) {
  if (time.seconds < kFirstSecond || time.seconds > kLastSecond || time.nanos < 0 ||
      time.nanos > kMostNanos) {
    return 0;
  }
  const std::int64_t from_first = time.seconds - kFirstSecond;
  const std::int64_t second = from_first % kSecondsPerDay;
  const Date date = DateOf(from_first / kSecondsPerDay + kFirstSecond / kSecondsPerDay);
  char* to = WriteDigits(text.data(), date.year, 4);
  *to++ = '-';
  to = WriteDigits(to, date.month, 2);
  *to++ = '-';
  to = WriteDigits(to, date.day, 2);
  *to++ = 'T';
  to = WriteDigits(to, second / 3600, 2);
  *to++ = ':';
  to = WriteDigits(to, second / 60 % 60, 2);
  *to++ = ':';
  to = WriteDigits(to, second % 60, 2);
  to = WriteFraction(to, time.nanos);
  *to++ = 'Z';
  return static_cast<std::size_t>(to - text.data());
}

std::size_t WriteDuration(Time time, TimeText& text) {
  const bool is_negative = time.seconds < 0 || time.nanos < 0;
  if (time.seconds < -kMostSeconds || time.seconds > kMostSeconds || time.nanos < -kMostNanos ||
      time.nanos > kMostNanos || (is_negative && (time.seconds > 0 || time.nanos > 0))) {
    return 0;
  }
  char* to = text.data();
  if (is_negative) {
    *to++ = '-';
  }
  to = std::to_chars(to, text.data() + text.size(), is_negative ? -time.seconds : time.seconds).ptr;
  to = WriteFraction(to, is_negative ? -time.nanos : time.nanos);
  *to++ = 's';
  return static_cast<std::size_t>(to - text.data());
}

bool ReadTimestamp(std::string_view text, Time& time) {
  Reader reader(text);
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::int64_t offset = 0;
  const bool read = reader.Digits(4, year) && reader.Skip('-') && reader.Digits(2, month) &&
                    reader.Skip('-') && reader.Digits(2, day) && reader.Skip('T') &&
                    reader.Digits(2, hour) && reader.Skip(':') && reader.Digits(2, minute) &&
                    reader.Skip(':') && reader.Digits(2, second) && reader.Fraction(time.nanos) &&
                    ReadOffset(reader, offset) && reader.IsAtEnd();
  if (!read || month < 1 || month > 12 || day < 1 || day > DaysOfMonth(year, month) || hour > 23 ||
      minute > 59 || second > 59) {
    return false;
  }
  const int second_of_day = 3600 * hour + 60 * minute + second;
  time.seconds = DaysSinceEpoch({year, month, day}) * kSecondsPerDay + second_of_day - offset;
  return time.seconds >= kFirstSecond && time.seconds <= kLastSecond;
}

bool ReadDuration(std::string_view text, Time& time) {
  Reader reader(text);
  const bool is_negative = reader.Skip('-');
  if (!reader.Number(time.seconds) || !reader.Fraction(time.nanos) || !reader.Skip('s') ||
      !reader.IsAtEnd() || time.seconds > kMostSeconds) {
    return false;
  }
  if (is_negative) {
    time = {-time.seconds, -time.nanos};
  }
  return true;
}

}  // namespace qmsg::php
