// Loads objects into a process without libqmsg, and writes a report to descriptor 3. This is a
// separate program because the tool has already loaded the library, which would hide a second copy.
//
//   qmsg-probe FILE... -- OBJECT...
//
// Lines of the report, in this order:
//   opening N           object N, counted from 0, is being opened
//   undefined N REASON  a symbol is missing; the object was opened lazily
//   refused N REASON    object N could not be opened
//   loaded PATH         an object in the process at the end
//   file NAME HEX       a registered schema file, and its serialised FileDescriptorProto
//   end

#include <dlfcn.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <link.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace {

void Report(std::string line) {
  for (char& character : line) {
    if (character == '\n') {
      character = ' ';
    }
  }
  line += '\n';
  std::string_view rest = line;
  while (!rest.empty()) {
    const ssize_t size = write(3, rest.data(), rest.size());
    if (size <= 0) {
      _exit(1);
    }
    rest.remove_prefix(static_cast<std::size_t>(size));
  }
}

std::string Reason() { return dlerror(); }

void Open(const char* path, const std::string& number) {
  Report("opening " + number);
  if (dlopen(path, RTLD_NOW | RTLD_LOCAL) != nullptr) {
    return;
  }
  std::string reason = Reason();
  if (reason.find("undefined symbol") != std::string::npos) {
    if (dlopen(path, RTLD_LAZY | RTLD_LOCAL) != nullptr) {
      Report("undefined " + number + ' ' + reason);
      return;
    }
    reason = Reason();
  }
  Report("refused " + number + ' ' + reason);
}

int ReportLoaded(dl_phdr_info* object, std::size_t /*size*/, void* /*data*/) {
  if (object->dlpi_name != nullptr && *object->dlpi_name == '/') {
    Report("loaded " + std::string(object->dlpi_name));
  }
  return 0;
}

std::string Hex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

void ReportFile(const std::string& name) {
  const auto* file = google::protobuf::DescriptorPool::generated_pool()->FindFileByName(name);
  if (file != nullptr) {
    google::protobuf::FileDescriptorProto proto;
    file->CopyTo(&proto);
    Report("file " + name + ' ' + Hex(proto.SerializeAsString()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  int separator = 1;
  while (separator < argc && std::string_view(argv[separator]) != "--") {
    ++separator;
  }
  for (int i = separator + 1; i < argc; ++i) {
    Open(argv[i], std::to_string(i - separator - 1));
  }
  dl_iterate_phdr(&ReportLoaded, nullptr);
  for (int i = 1; i < separator; ++i) {
    ReportFile(argv[i]);
  }
  Report("end");
}
