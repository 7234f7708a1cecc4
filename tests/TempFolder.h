// A private folder for the files of one test process, made under the folder the tests are given
// for temporary files and removed with all it holds at the end: runs side by side, and runs by
// other users, never meet each other's files. Writes are checked.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    do m_path = testing::TempDir() + "quillon-" + std::to_string(random()) + std::to_string(random());
    while (!std::filesystem::create_directory(m_path));
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string Path(const std::string& name) const { return m_path + "/" + name; }
  // Writes the file and returns its path; a write that fails raises, failing the test.
  std::string Write(const std::string& name, const std::string& bytes) const {
    const std::string path = Path(name);
    std::ofstream out(path, std::ios::binary);
    if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())) || !out.flush())
      throw std::runtime_error("cannot write " + path);
    return path;
  }

 private:
  std::string m_path;
};

// The test process's folder.
inline const TempFolder& Temp() {
  static const TempFolder folder;
  return folder;
}
