// Switches the process to a locale with a decimal comma for as long as the object lives.
#pragma once

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace qv::test {

class DecimalComma {
 public:
  DecimalComma() {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German_Germany.1252", "de-DE"}) {
      if (Try(name)) return;
    }
#ifndef _WIN32
    MakeOne();
#endif
  }
  DecimalComma(const DecimalComma&) = delete;
  DecimalComma& operator=(const DecimalComma&) = delete;
  ~DecimalComma() {
    std::setlocale(LC_ALL, "C");
  }

  /// False when this machine has no such locale and cannot make one.
  bool active() const {
    return active_;
  }

 private:
  bool Try(const char* name) {
    if (std::setlocale(LC_ALL, name) == nullptr) return false;
    active_ = std::strtod("1,5", nullptr) == 1.5;
    if (!active_) std::setlocale(LC_ALL, "C");
    return active_;
  }

#ifndef _WIN32
  void MakeOne() {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "qv3d_test_locale";
    std::filesystem::create_directories(folder);
    const std::string source = (folder / "source").string();
    std::ofstream(source)
        << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n";
    const std::string command = "localedef -c -i '" + source + "' '" + (folder / "xx_XX").string() + "' >'" +
                                (folder / "log").string() + "' 2>&1";
    if (std::system(command.c_str()) == -1) return;  // it also warns by its exit status: Try decides
    setenv("LOCPATH", folder.c_str(), 1);
    Try("xx_XX");
    unsetenv("LOCPATH");
  }
#endif

  bool active_ = false;
};

}  // namespace qv::test
