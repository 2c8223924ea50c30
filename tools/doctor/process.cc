#include "doctor/process.h"

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/logging.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <system_error>

namespace qmsg::doctor {
namespace {

namespace fs = std::filesystem;
namespace pb = google::protobuf;

struct Search {
  const std::string& beginning;
  std::string found;
};

int Compare(dl_phdr_info* object, std::size_t /*size*/, void* data) {
  auto& search = *static_cast<Search*>(data);
  const fs::path path(object->dlpi_name != nullptr ? object->dlpi_name : "");
  if (path.filename().string().rfind(search.beginning, 0) != 0) {
    return 0;
  }
  search.found = path;
  return 1;
}

}  // namespace

std::string LoadedObject(const std::string& beginning) {
  Search search{beginning, ""};
  dl_iterate_phdr(&Compare, &search);
  std::error_code error;
  const fs::path real = fs::canonical(search.found, error);
  return error ? search.found : real.string();
}

std::string HeaderVersion() { return pb::internal::VersionString(GOOGLE_PROTOBUF_VERSION); }

std::string RuntimeVersion() {
  // The runtime states its release only in the error for programs that need a newer one.
  static constexpr char kBefore[] = "installed version is ";
  pb::LogHandler* handler = pb::SetLogHandler(nullptr);
  std::string version = "unknown";
  try {
    pb::internal::VerifyVersion(GOOGLE_PROTOBUF_VERSION, INT_MAX, "");
  } catch (const pb::FatalException& refusal) {
    const std::string& reason = refusal.message();
    const std::size_t before = reason.find(kBefore);
    if (before != std::string::npos) {
      version = reason.substr(before + sizeof(kBefore) - 1);
      version.erase(std::min(version.find(' '), version.size()));
      if (!version.empty() && version.back() == '.') {
        version.pop_back();
      }
    }
  }
  pb::SetLogHandler(handler);
  return version;
}

std::string ProbePath() {
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const fs::path& path : {folder / "qmsg-probe", folder / QMSG_LIBEXEC / "qmsg-probe"}) {
    if (access(path.c_str(), X_OK) == 0) {
      return path;
    }
  }
  return "";
}

}  // namespace qmsg::doctor
