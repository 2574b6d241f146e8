/// \file
/// A device of this process alone, with factory data before every input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "folder.hpp"
#include "session.hpp"

namespace ymap_fuzz {

class BenchDevice {
 public:
  BenchDevice() : path_(make_folder()), session_({YMAP_PLUGIN, YMAP_MODELS}, path_), folder_(path_) {
    session_.run(who_, {});
    factory_ = stored();
  }
  ~BenchDevice() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  BenchDevice(const BenchDevice &) = delete;
  BenchDevice &operator=(const BenchDevice &) = delete;

  ymap::Session &session() { return session_; }
  const ymap::Requester &who() const { return who_; }
  bool is_edited() const { return stored() != factory_; }
  void restore() {
    if (is_edited()) folder_.store(folder_.lock(), {factory_}, 0);
  }

 private:
  static std::filesystem::path make_folder() {
    std::string name = std::filesystem::temp_directory_path() / "ymap_fuzz.XXXXXX";
    if (mkdtemp(name.data()) != nullptr) return name;
    std::fprintf(stderr, "no folder %s can be made\n", name.c_str());
    std::abort();
  }
  std::string stored() const { return folder_.load().text; }

  const ymap::Requester who_ = ymap::Requester::of_process("fuzzer");
  std::filesystem::path path_;
  ymap::Session session_;
  device::Folder folder_;
  std::string factory_;
};

}  // namespace ymap_fuzz
