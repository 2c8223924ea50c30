// Sorts jobs by their queue: reads one field of each job and copies the other bytes unread.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <protozero/pbf_reader.hpp>
#include <protozero/pbf_writer.hpp>
#include <stdexcept>
#include <string>

#include "queue_id.h"

namespace {

using quor::protobuf::JQ::JobList;

constexpr const char* kProgram = "route_by_queue";
constexpr const char* kUsage =
    "usage: route_by_queue FILE FOLDER\n"
    "Sorts the jobs of FILE, a quor.protobuf.JQ.JobList, into one list for each queue:\n"
    "FOLDER/QUEUE_ID.pb. FOLDER is created if it does not exist.\n";

struct Queue {
  std::string list;  // the bytes of a JobList
  int jobs = 0;
};
using Queues = std::map<std::int64_t, Queue>;

std::string ReadFile(const std::string& path) {
  std::ifstream file;
  if (!std::filesystem::is_directory(path)) {
    file.open(path, std::ios::binary);
  }
  if (!file.is_open()) {
    throw std::runtime_error(path + ": cannot be opened: check the name and its permissions");
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

Queues Route(const std::string& path, const std::string& list) {
  Queues queues;
  int number = 1;
  protozero::pbf_reader fields(list);
  try {
    while (fields.next()) {
      if (fields.tag_and_type() !=
          protozero::tag_and_type(JobList::kJobsFieldNumber,
                                  protozero::pbf_wire_type::length_delimited)) {
        throw std::runtime_error(path + ": field " + std::to_string(fields.tag()) +
                                 " beside the jobs belongs to no queue: build this program with "
                                 "the schema files of its writer");
      }
      const protozero::data_view job = fields.get_view();
      Queue& queue = queues[QueueId(job)];
      protozero::pbf_writer(queue.list).add_message(JobList::kJobsFieldNumber, job);
      ++queue.jobs;
      ++number;
    }
  } catch (const protozero::exception& error) {
    throw std::runtime_error(path + ": job " + std::to_string(number) + " is damaged or cut off (" +
                             error.what() + "): copy the file again, whole");
  }
  return queues;
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes << std::flush;
  if (!file) {
    throw std::runtime_error(path.string() + ": cannot be written");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << kUsage;
    return 2;
  }
  try {
    const std::filesystem::path folder = argv[2];
    // All or nothing: damaged input is refused before the first file is written.
    const Queues queues = Route(argv[1], ReadFile(argv[1]));
    std::filesystem::create_directories(folder);
    for (const auto& [id, queue] : queues) {
      WriteFile(folder / (std::to_string(id) + ".pb"), queue.list);
      std::cout << "queue " << id << ": " << queue.jobs << (queue.jobs == 1 ? " job" : " jobs")
                << '\n';
    }
    if (!std::cout.flush()) {
      throw std::runtime_error("the list of the queues could not be written");
    }
  } catch (const std::exception& error) {
    std::cerr << kProgram << ": " << error.what() << '\n';
    return 1;
  }
}
