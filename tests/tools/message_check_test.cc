// The check judges the message that a parser reads from the bytes.
#include "check/message_check.h"

#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "inputs.h"

namespace {

using tools_test::Message;

struct Checked {
  bool good = false;
  std::vector<qmsg::Finding> findings;
};

Checked Check(const std::string& bytes, const google::protobuf::Descriptor* type,
              qmsg::ParsedMessagePool& pool) {
  Checked checked;
  qmsg::Findings findings(
      [&checked](const qmsg::Finding& finding) { checked.findings.push_back(finding); });
  checked.good = qmsg::MessageCheck(bytes, type, pool, findings).good();
  return checked;
}

// Findings that do not depend on how the message was written.
std::vector<std::string> AboutTheContent(const Checked& check) {
  static constexpr std::array<const qmsg::Rule*, 3> kAboutTheBytes{
      &qmsg::rules::kRepeatedSingular, &qmsg::rules::kUnknownField, &qmsg::rules::kWireType};
  std::vector<std::string> findings;
  for (const qmsg::Finding& finding : check.findings) {
    if (std::find(kAboutTheBytes.begin(), kAboutTheBytes.end(), finding.rule) ==
        kAboutTheBytes.end()) {
      findings.push_back(std::string(finding.rule->code) + ' ' + finding.path + ": " +
                         finding.reason);
    }
  }
  std::sort(findings.begin(), findings.end());
  return findings;
}

bool HasError(const std::vector<qmsg::Finding>& findings) {
  return std::any_of(findings.begin(), findings.end(), [](const qmsg::Finding& finding) {
    return finding.rule->severity == qmsg::Severity::kError;
  });
}

TEST(MessageCheck, FindsTheSameInAnyBytesAndInTheMessageParsedFromThem) {
  const google::protobuf::LogSilencer silencer;
  qmsg::ParsedMessagePool pool;
  std::size_t with_findings = 0;
  tools_test::ForEachInput([&](const Message& prototype, const std::string& bytes) {
    const google::protobuf::Descriptor* type = prototype.GetDescriptor();
    const Checked check = Check(bytes, type, pool);
    const std::unique_ptr<Message> message(prototype.New());
    ASSERT_EQ(check.good, message->ParseFromString(bytes));
    ASSERT_EQ(check.good, !HasError(check.findings));
    // A map has lost the pairs that others have replaced.
    if (!check.good || contract::HoldsMap(*type)) {
      return;
    }
    const std::string written = message->SerializeAsString();
    const std::vector<std::string> findings = AboutTheContent(check);
    ASSERT_EQ(findings, AboutTheContent(Check(written, type, pool))) << message->Utf8DebugString();
    with_findings += findings.empty() ? 0 : 1;
  });
  EXPECT_GT(with_findings, 1000U);
}

}  // namespace
