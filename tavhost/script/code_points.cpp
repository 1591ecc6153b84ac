#include "tavhost/script/code_points.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "tavhost/base/utf8.h"

namespace script {

namespace {

using utf8::IsContinuation;

// What is known of a text. It shares the text's buffer, so that nobody can change that text in its
// place unseen.
struct KnownText {
  SV::String text;
  std::int32_t codePoints = -1;       // -1: not counted yet
  std::vector<std::uint32_t> places;  // the byte of every kStep-th code point; empty: not made yet
};

// So many code points lie between two places of the table at most: close enough to find the one
// between them at once, and far enough apart for the table to be small beside the text.
constexpr std::int32_t kStep = 128;

// The last one used in front. A script that compares two texts position by position uses two.
constexpr std::size_t kKnownTexts = 4;
std::array<KnownText, kKnownTexts> knownTexts;

// Short texts are simply counted anew.
constexpr long kShortText = 64;

KnownText& Know(const SV::String& text) {
  const auto isSame = [&text](const KnownText& known) {
    return known.text.GetStr() == text.GetStr() && known.text.Len() == text.Len();
  };
  if (isSame(knownTexts.front())) return knownTexts.front();
  auto found = std::find_if(knownTexts.begin(), knownTexts.end(), isSame);
  if (found == knownTexts.end()) {
    --found;
    *found = {text, -1, {}};
  }
  std::rotate(knownTexts.begin(), found, found + 1);
  return knownTexts.front();
}

std::vector<std::uint32_t> PlacesOf(const KnownText& known, base::WorkMeter& meter) {
  const std::string_view text = known.text.View();
  std::vector<std::uint32_t> places;
  places.reserve(static_cast<std::size_t>(known.codePoints / kStep) + 1);
  std::int32_t codePoint = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.size(), at + base::WorkMeter::kPiece);
    meter.DidBytes(4 * (end - at));
    for (; at < end; ++at) {
      if (at > 0 && IsContinuation(text[at])) continue;
      if (codePoint++ % kStep == 0) places.push_back(static_cast<std::uint32_t>(at));
    }
  }
  return places;
}

}  // namespace

std::int32_t CountCodePoints(std::string_view text, base::WorkMeter& meter) {
  if (text.empty()) return 0;
  std::int64_t count = IsContinuation(text.front());
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), meter.kPiece))) {
    const std::string_view piece = text.substr(0, meter.kPiece);
    count +=
        std::count_if(piece.begin(), piece.end(), [](char byte) { return !IsContinuation(byte); });
    meter.DidBytes(piece.size());
  }
  return static_cast<std::int32_t>(count);
}

std::int32_t CodePoints(const SV::String& text, base::WorkMeter& meter) {
  if (text.Len() <= kShortText) return CountCodePoints(text.View(), meter);
  KnownText& known = Know(text);
  if (known.codePoints < 0) {
    // Counting lets events through, which may use other texts.
    const std::int32_t count = CountCodePoints(text.View(), meter);
    Know(text).codePoints = count;
    return count;
  }
  return known.codePoints;
}

std::size_t CodePointLength(std::string_view text, std::size_t at) {
  std::size_t end = at + 1;
  while (end < text.size() && IsContinuation(text[end])) ++end;
  return end - at;
}

std::size_t ByteOf(const SV::String& text, std::int32_t codePoint, base::WorkMeter& meter) {
  const std::string_view bytes = text.View();
  std::size_t byte = 0;
  if (text.Len() > kShortText) {
    const std::int32_t count = CodePoints(text, meter);
    if (codePoint >= count) return bytes.size();
    if (count == text.Len()) return static_cast<std::size_t>(codePoint);
    KnownText* known = &Know(text);
    if (known->places.empty()) {
      std::vector<std::uint32_t> places = PlacesOf(KnownText{text, count, {}}, meter);
      known = &Know(text);
      known->codePoints = count;
      known->places = std::move(places);
    }
    byte = known->places[static_cast<std::size_t>(codePoint / kStep)];
    codePoint %= kStep;
  }
  const std::size_t from = byte;
  for (; codePoint > 0 && byte < bytes.size(); --codePoint) byte += CodePointLength(bytes, byte);
  meter.ChargeBytes(byte - from);
  return byte;
}

void ForgetTexts() { knownTexts = {}; }

}  // namespace script
