#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "host/base/string.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/value.h"

namespace random_kel {

// The seed of this run: TAVHOST_TEST_SEED when set, else a new one. Failing tests show it.
inline std::uint32_t Seed() {
  static const std::uint32_t seed = [] {
    const char* const given = std::getenv("TAVHOST_TEST_SEED");
    if (given) return static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
    return std::random_device()();
  }();
  return seed;
}

inline std::string SeedText() { return "TAVHOST_TEST_SEED=" + std::to_string(Seed()); }

// Makes random values and elements of every kind.
class Maker {
 public:
  explicit Maker(std::uint32_t seed) : random_(seed) {}

  std::uint32_t Below(std::uint32_t limit) { return random_() % limit; }

  std::string Bytes() {
    std::string bytes(Below(40), '\0');
    for (char& byte : bytes) byte = static_cast<char>(Below(2) ? Below(256) : 0x20 + Below(0x60));
    return bytes;
  }

  std::string Name() {
    static constexpr char kFirst[] = "abcXYZ_q";
    static constexpr char kLater[] = "abcXYZ_q0123456789";
    std::string name(1, kFirst[Below(8)]);
    for (std::uint32_t more = Below(24); more > 0; --more) {
      if (Below(8) == 0) name += '-';
      name += kLater[Below(18)];
    }
    return name;
  }

  double Real() {
    if (Below(2)) return static_cast<double>(static_cast<std::int32_t>(random_())) / 64;
    while (true) {
      const std::uint64_t bits = (std::uint64_t{random_()} << 32) | random_();
      double real;
      static_assert(sizeof real == sizeof bits);
      __builtin_memcpy(&real, &bits, sizeof real);
      if (__builtin_isfinite(real)) return real;
    }
  }

  kel::Value Value(int depth) {
    switch (Below(depth > 0 ? 6 : 4)) {
      case 0:
        return kel::Value(static_cast<std::int32_t>(random_()));
      case 1:
        return kel::Value(Real());
      case 2:
        return kel::Value(Text(Bytes()));
      case 3:
        return kel::Value(Text(Name()), TavKelWord);
      case 4: {
        kel::Value list = kel::Value::List();
        for (std::uint32_t n = Below(5); n > 0; --n) {
          list.MutableList().items.push_back(Value(depth - 1));
        }
        return list;
      }
      default: {
        kel::Value record = kel::Value::Record();
        for (std::uint32_t n = Below(5); n > 0; --n) {
          record.MutableRecord().At(Text(Below(2) ? Name() : Bytes())) = Value(depth - 1);
        }
        return record;
      }
    }
  }

  static SV::String Text(const std::string& text) {
    return SV::String(text.data(), static_cast<long>(text.size()));
  }

  // An element as KEL text. The attributes' names end in numbers, so that none stands twice.
  std::string Element(int depth) {
    SV::String text = Text(Below(8) ? Name() : "value");
    if (Below(2)) {
      text += ' ';
      Append(text, Value(depth), true);
    }
    const std::uint32_t count = Below(5);
    for (std::uint32_t i = 0; i < count; ++i) {
      text += ' ';
      text += i == 3 ? SV::String("value") : Text(Name() + std::to_string(i));
      if (Below(4) == 0) continue;
      text += ':';
      if (depth > 0 && Below(4) == 0) {
        text += Text("{" + Element(depth - 1) + "\n" + Element(depth - 1) + ";}");
      } else {
        Append(text, Value(depth), false);
      }
    }
    return std::string(text.View());
  }

 private:
  // A word is no main value.
  static void Append(SV::String& text, const kel::Value& value, bool isMain) {
    if (isMain && value.Kind() == TavKelWord) {
      text += kel::Literal(value.Text().View());
    } else {
      kel::AppendKel(text, value);
    }
  }

  std::mt19937 random_;
};

}  // namespace random_kel
