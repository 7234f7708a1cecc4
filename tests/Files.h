// The files of the tests: fixtures read whole, and a private folder for what they write.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A folder of the test process's own under the folder for temporary files, removed with all it
// holds at the end: runs side by side, and other users' runs, never meet each other's files.
class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    do m_path = (std::filesystem::temp_directory_path() / ("quillon-" + std::to_string(random()) + std::to_string(random()))).string();
    while (!std::filesystem::create_directory(m_path));
  }
  ~TempFolder() { std::filesystem::remove_all(m_path); }

  std::string Path(const std::string& name) const { return m_path + "/" + name; }
  // Writes the file, whose name is UTF-8 text, and gives its path; a failed write raises.
  std::string Write(const std::string& name, const std::string& bytes) const {
    const std::string path = Path(name);
    std::ofstream out(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::binary);
    if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())) || !out.flush())
      throw std::runtime_error("cannot write " + path);
    return path;
  }

 private:
  std::string m_path;
};

inline const TempFolder& Temp() {
  static const TempFolder folder;
  return folder;
}
