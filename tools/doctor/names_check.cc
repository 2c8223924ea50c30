#include <algorithm>
#include <map>
#include <set>

#include "doctor/checks.h"
#include "doctor/process.h"
#include "error.h"
#include "io/join.h"
#include "io/text.h"

namespace qmsg::doctor {
namespace {

constexpr char kOwnFolder[] =
    "keep your schema files in a folder of your module's name, and let protoc see that name: "
    "protoc --proto_path=schemas --cpp_out=. mymodule/login.proto";
constexpr char kLink[] =
    "link the module with libqmsg and include its headers, instead of generating classes from its "
    "schema files";

// All objects that share the process, each once.
std::vector<Object> Together(const std::vector<Object>& objects,
                             const std::optional<Loading>& loading) {
  std::vector<Object> together;
  std::set<std::string> paths;
  const auto add = [&](const Object& object) {
    if (object.IsUsable() && paths.insert(object.path).second) {
      together.push_back(object);
    }
  };
  for (const Object& object : objects) {
    add(object);
  }
  std::vector<std::string> others = loading ? loading->loaded : std::vector<std::string>();
  // Nothing was loaded: assume the library that this tool was loaded with.
  const std::string library = LoadedObject("libqmsg");
  const bool has_other = std::any_of(objects.begin(), objects.end(), [](const Object& object) {
    return object.elf.soname.rfind("libqmsg.so", 0) == 0;
  });
  if (!loading && !has_other &&
      std::any_of(objects.begin(), objects.end(),
                  [](const Object& object) { return !object.Needed("libqmsg.so").empty(); })) {
    others.push_back(library);
  }
  for (const std::string& path : others) {
    try {
      add(ReadObject(path));
    } catch (const Error&) {
      continue;  // it was deleted meanwhile
    }
  }
  return together;
}

std::string Paths(const std::vector<const Object*>& objects) {
  std::string text;
  for (const Object* object : objects) {
    text += (text.empty() ? "" : " and ") + object->path;
  }
  return text;
}

struct Clash {
  std::vector<std::string> names;
  bool all_known = true;  // all have the content of the library
  bool exported = true;   // all export the descriptor table under the same name
};

std::string TableName(const std::string& file) {
  std::string name = "descriptor_table_";
  for (const char character : file) {
    const bool plain = (character >= 'a' && character <= 'z') ||
                       (character >= 'A' && character <= 'Z') ||
                       (character >= '0' && character <= '9');
    const auto byte = static_cast<unsigned char>(character);
    if (plain) {
      name += character;
    } else {
      name += '_';
      if (byte >= 16) {
        name += kHexDigits[byte >> 4];
      }
      name += kHexDigits[byte & 15];
    }
  }
  return name;
}

bool Exports(const Object& object, const std::string& name) {
  return std::find(object.elf.exports.begin(), object.elf.exports.end(), name) !=
         object.elf.exports.end();
}

using Carriers = std::vector<const Object*>;

std::map<Carriers, Clash> FindClashes(const std::vector<Object>& together) {
  std::map<std::string, Carriers> carriers;
  std::set<std::string> foreign;  // names with other content in some object
  for (const Object& object : together) {
    for (const Carried& carried : object.files) {
      Carriers& known = carriers[carried.file.name];
      if (known.empty() || known.back() != &object) {
        known.push_back(&object);
      }
      if (!carried.known) {
        foreign.insert(carried.file.name);
      }
    }
  }
  std::map<Carriers, Clash> clashes;
  for (const auto& [name, objects] : carriers) {
    if (objects.size() > 1) {
      Clash& clash = clashes[objects];
      clash.names.push_back(name);
      clash.all_known = clash.all_known && foreign.count(name) == 0;
      const std::string table = TableName(name);
      clash.exported = clash.exported &&
                       std::all_of(objects.begin(), objects.end(), [&table](const Object* object) {
                         return Exports(*object, table);
                       });
    }
  }
  return clashes;
}

Finding Tell(const Carriers& objects, const Clash& clash) {
  const std::string paths = Paths(objects);
  const std::string names = Join(clash.names, ", ");
  if (clash.all_known && clash.names.size() == KnownSchemaFiles().size()) {
    return {Level::kError, "names", objects.back()->path,
            "copies of libqmsg: " + paths +
                "; a process aborts when it loads the second one (\"File already exists in "
                "database: " +
                KnownSchemaFiles().front().name + "\")",
            "keep one of them, and make the others symbolic links to it"};
  }
  std::string text = names + (clash.names.size() == 1 ? " is in " : " are in ") + paths +
                     "; a process aborts when it loads the second one (\"File already exists in "
                     "database: " +
                     clash.names.front() + "\")";
  if (clash.exported && !clash.all_known) {
    text += ", or crashes later if the first was loaded globally";
  }
  return {Level::kError, "names", objects.back()->path, text, clash.all_known ? kLink : kOwnFolder};
}

// Packages of the library under another file name.
void AddForeignPackages(const std::vector<Object>& together, Findings& findings) {
  for (const Object& object : together) {
    for (const Carried& carried : object.files) {
      for (const SchemaFile& known : KnownSchemaFiles()) {
        if (carried.file.package == known.package && carried.file.name != known.name) {
          findings.push_back(
              {Level::kError, "names", object.path,
               object.path + " has " + carried.file.name + ", whose package " + known.package +
                   " is that of libqmsg's " + known.name +
                   "; a process aborts when it loads both and they have a message of "
                   "the same name (\"Symbol name ... conflicts\")",
               kLink});
        }
      }
    }
  }
}

}  // namespace

void CheckNames(const std::vector<Object>& objects, const std::optional<Loading>& loading,
                Findings& findings) {
  const std::vector<Object> together = Together(objects, loading);
  if (together.empty()) {
    return;
  }
  const std::size_t before = findings.size();
  for (const auto& [carriers, clash] : FindClashes(together)) {
    findings.push_back(Tell(carriers, clash));
  }
  AddForeignPackages(together, findings);
  if (findings.size() == before) {
    findings.push_back(
        {Level::kOk, "names", "",
         "no schema file is in two objects; objects checked: " + std::to_string(together.size()),
         ""});
  }
}

}  // namespace qmsg::doctor
