#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace bench {

// 1,000,000 rows of 5 columns: a name, two numbers, a word and a date.
inline constexpr int kTableRows = 1000000;
inline constexpr int kTableColumns = 5;

inline std::string TableText(int rows = kTableRows) {
  std::mt19937 random(1);
  std::string text = "Name;Mass;Count;Material;Date\n";
  for (int row = 0; row < rows; ++row) {
    const std::uint32_t number = random();
    text += "part " + std::to_string(row) + ';' + std::to_string(number % 100000) + '.' +
            std::to_string(number % 10) + ';' + std::to_string(number >> 20) +
            (number % 3 ? ";steel;20" : ";aluminium;19") + std::to_string(number % 90 + 10) +
            "-05-17\n";
  }
  return text;
}

}  // namespace bench
