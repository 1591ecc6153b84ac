// Parsing KEL and turning it into XML, beside parsers of JSON and XML on the same information.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <pugixml.hpp>
#include <random>
#include <string>
#include <tl/expected.hpp>

#include "bench/compare.h"
#include "host/notation/kel_converter.h"
#include "tavhost/notation/document.h"

namespace {

constexpr std::size_t kTextBytes = std::size_t{50} << 20;

// The same records three times.
struct Texts {
  std::string kel;
  std::string json = "[";
  std::string xml = "<records>";
};

Texts MakeTexts() {
  static const char* const kCities[] = {"Berlin", "Wien", "Zürich", "London", "Los Angeles"};
  static const char* const kNotes[] = {"delivered in good order, nothing left to do",
                                       "to be called back before the end of May",
                                       "see the list of open points", "paid"};
  Texts texts;
  std::mt19937 random(7);
  for (int id = 1; texts.kel.size() < kTextBytes; ++id) {
    const std::string number = std::to_string(id);
    const std::string amount =
        std::to_string(random() % 100000) + "." + std::to_string(random() % 90 + 10);
    const std::string city = kCities[random() % 5];
    const std::string note = kNotes[random() % 4];
    const bool quoted = random() % 16 == 0;
    const bool active = random() % 2 == 0;
    const std::string count = std::to_string(random() % 1000);
    texts.kel += "ORDER " + number + " name:\"Customer " + number + "\" city:\"" + city +
                 "\" amount:" + amount + (active ? " active" : "") + " count:" + count +
                 " note:\"" + (quoted ? "\\\"" + note + "\\\"" : note) + "\"\n";
    texts.json += std::string(id > 1 ? "," : "") + "{\"id\":" + number + ",\"name\":\"Customer " +
                  number + "\",\"city\":\"" + city + "\",\"amount\":" + amount +
                  (active ? ",\"active\":true" : "") + ",\"count\":" + count + ",\"note\":\"" +
                  (quoted ? "\\\"" + note + "\\\"" : note) + "\"}";
    texts.xml += "<ORDER value=\"" + number + "\" name=\"Customer " + number + "\" city=\"" + city +
                 "\" amount=\"" + amount + "\"" + (active ? " active=\"active\"" : "") +
                 " count=\"" + count + "\" note=\"" + (quoted ? "&quot;" + note + "&quot;" : note) +
                 "\"/>";
  }
  texts.json += "]";
  texts.xml += "</records>";
  return texts;
}

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

void CompareAll() {
  const Texts texts = MakeTexts();
  const SV::String kel(texts.kel.data(), static_cast<long>(texts.kel.size()));
  std::printf(
      "KEL %.1f MB, JSON %.1f MB, XML %.1f MB\n", static_cast<double>(texts.kel.size()) / 1e6,
      static_cast<double>(texts.json.size()) / 1e6, static_cast<double>(texts.xml.size()) / 1e6);
  std::string scratch;

  const bench::Contender ours{"KEL", {}, [&] {
                                const auto document = kel::Document::Parse(kel);
                                Check(document.has_value(), "KEL");
                                benchmark::DoNotOptimize((*document)->Count());
                              }};
  const bench::Contender pugi{"pugixml", [&] { scratch = texts.xml; },
                              [&] {
                                pugi::xml_document document;
                                Check(document.load_buffer_inplace(scratch.data(), scratch.size()),
                                      "pugixml");
                                benchmark::DoNotOptimize(document.first_child());
                              }};
  const bench::Contender dom{"RapidJSON DOM", {}, [&] {
                               rapidjson::Document document;
                               document.Parse(texts.json.data(), texts.json.size());
                               Check(!document.HasParseError(), "RapidJSON");
                               benchmark::DoNotOptimize(document.Size());
                             }};
  bench::Compare("8a parse 50 MB of records", {ours, pugi, dom}, 1.0);

  const bench::Contender toXml{"KEL to XML", {}, [&] {
                                 TavKelConverter converter(kel);
                                 Check(converter.Parse() == 0, "KEL");
                                 const SV::String xml = converter.ToXML(true, "records");
                                 benchmark::DoNotOptimize(xml.Len());
                               }};
  const bench::Contender sax{"RapidJSON SAX to writer", {}, [&] {
                               rapidjson::StringBuffer buffer;
                               rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
                               rapidjson::StringStream stream(texts.json.c_str());
                               rapidjson::Reader reader;
                               Check(!reader.Parse(stream, writer).IsError(), "RapidJSON");
                               benchmark::DoNotOptimize(buffer.GetSize());
                             }};
  bench::Compare("8b notation to XML", {toXml, sax}, 0.4);
}

void ParseCommand(benchmark::State& state) {
  const SV::String text("FILE_COPY from:\"/tmp/a.txt\" to:\"/tmp/b.txt\" copy-file-attributes");
  for (auto unused : state) {
    (void)unused;
    TavKelParser parser(text);
    benchmark::DoNotOptimize(parser.Parse());
  }
}
BENCHMARK(ParseCommand);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  CompareAll();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
