/// \file
/// Paths as one writes them, and a device that counts what it is asked.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "gnmi.pb.h"
#include "session.hpp"

namespace ymap::telemetry::test {

/// "/optical-amplifier/amplifiers/amplifier[name=0/0-AMP-PRE0]"; an elem ends at a slash outside of brackets.
inline ::gnmi::Path path(std::string_view text) {
  ::gnmi::Path made;
  while (!text.empty()) {
    if (!text.starts_with('/')) throw std::invalid_argument(std::string(text));
    text.remove_prefix(1);
    std::size_t end = 0;
    for (bool in_key = false; end < text.size() && (in_key || text[end] != '/'); ++end) {
      if (text[end] == '[') in_key = true;
      if (text[end] == ']') in_key = false;
    }
    auto elem = text.substr(0, end);
    text.remove_prefix(end);
    auto &added = *made.add_elem();
    added.set_name(std::string(elem.substr(0, elem.find('['))));
    while (elem.find('[') != std::string_view::npos) {
      elem.remove_prefix(elem.find('[') + 1);
      const auto key = elem.substr(0, elem.find(']'));
      (*added.mutable_key())[std::string(key.substr(0, key.find('=')))] = key.substr(key.find('=') + 1);
    }
  }
  return made;
}

inline std::string text(const ::gnmi::Path &path) {
  std::string made;
  for (const auto &elem : path.elem()) {
    made += "/" + elem.name();
    for (const auto &[key, value] : elem.key())
      made.append("[").append(key).append("=").append(value).append("]");
  }
  return made;
}

class CountingDevice : public FolderDevice {
 public:
  using FolderDevice::FolderDevice;
  void read(const yfw::Datatree &request, yfw::Datatree &answer) override {
    ++reads;
    if (is_gone) throw device::FolderError("the device is gone");
    FolderDevice::read(request, answer);
  }
  int reads = 0;
  bool is_gone = false;
};

/// A session at a device of factory data.
class WithDevice : public testing::Test {
 protected:
  WithDevice() {
    auto name = (std::filesystem::temp_directory_path() / "ymap-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder to work in");
    folder_ = name;
    auto made = std::make_unique<CountingDevice>(folder_, YMAP_TEST_MODELS);
    device_ = made.get();
    session_ = std::make_unique<Session>(Parts{YMAP_TEST_PLUGIN, YMAP_TEST_MODELS}, std::move(made));
  }
  ~WithDevice() override {
    session_.reset();
    std::filesystem::remove_all(folder_);
  }

  const Schema &schema() const { return session_->schema(); }
  void set(const std::string &leaf, const std::string &value) {
    session_->run(who_, edit_request(schema(), "0/0-AMP-PRE0", {{leaf, value}}));
  }

  std::filesystem::path folder_;
  CountingDevice *device_ = nullptr;
  std::unique_ptr<Session> session_;
  Requester who_ = Requester::of_process("test");
};

}  // namespace ymap::telemetry::test
