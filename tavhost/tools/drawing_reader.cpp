#include "tavhost/tools/drawing_reader.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <optional>
#include <tl/expected.hpp>

#include "host/files/system_file_manager.h"
#include "tavhost/base/ascii.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/disk.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/scan.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/table/table_sort.h"

namespace drawing_reader {

namespace {

using ui::DrawingColor;
using ui::DrawingShape;
using ui::DrawingTransform;

struct ColorName {
  std::string_view name;
  DrawingColor color;
};
constexpr ColorName kColors[] = {
    {"black", {0, 0, 0, 255}},       {"white", {255, 255, 255, 255}},
    {"gray", {128, 128, 128, 255}},  {"grey", {128, 128, 128, 255}},
    {"red", {220, 0, 0, 255}},       {"green", {0, 140, 0, 255}},
    {"blue", {0, 0, 220, 255}},      {"yellow", {255, 220, 0, 255}},
    {"orange", {255, 140, 0, 255}},  {"purple", {128, 0, 128, 255}},
    {"brown", {140, 80, 30, 255}},   {"cyan", {0, 180, 200, 255}},
    {"magenta", {220, 0, 220, 255}},
};

// A name, #RGB, #RRGGBB or #RRGGBBAA.
std::optional<DrawingColor> ColorOf(std::string_view text) {
  for (const ColorName& known : kColors) {
    if (known.name == text) return known.color;
  }
  if (text.empty() || text.front() != '#') return std::nullopt;
  text.remove_prefix(1);
  if (text.size() != 3 && text.size() != 6 && text.size() != 8) return std::nullopt;
  const std::size_t width = text.size() == 3 ? 1 : 2;
  int parts[4] = {0, 0, 0, 255};
  for (std::size_t i = 0; i * width < text.size(); ++i) {
    const int high = ascii::HexDigit(text[i * width]);
    const int low = ascii::HexDigit(text[i * width + width - 1]);
    if (high < 0 || low < 0) return std::nullopt;
    parts[i] = high * 16 + low;
  }
  const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
  return DrawingColor{byte(parts[0]), byte(parts[1]), byte(parts[2]), byte(parts[3])};
}

bool ReadFile(const std::string& path, SV::String& text) {
  return TavSystemFileManager::readStringFromFile(text, path.c_str(), true) == 0;
}

std::string Joined(const std::string& folder, const std::string& name) {
  if (disk::IsAbsolute(name) || database_area::IsAreaName(name)) return name;
  return disk::Join(folder, name);
}

// What one element is given, by name.
class Attributes {
 public:
  explicit Attributes(const kel::Element& element) : element_(element) {}

  const kel::Operand* Find(std::string_view name) const {
    for (std::uint32_t i = 0; i < element_.attributeCount; ++i) {
      if (element_.attributes[i].Name() != name) continue;
      return &element_.attributes[i].operand;
    }
    return nullptr;
  }
  // The first attribute that is not in the list.
  template <std::size_t Count>
  const kel::Attribute* Foreign(const std::string_view (&known)[Count]) const {
    for (std::uint32_t i = 0; i < element_.attributeCount; ++i) {
      const std::string_view name = element_.attributes[i].Name();
      if (std::find(std::begin(known), std::end(known), name) == std::end(known)) {
        return &element_.attributes[i];
      }
    }
    return nullptr;
  }

 private:
  const kel::Element& element_;
};

std::optional<double> NumberOf(const kel::Operand& operand) {
  if (operand.kind == TavKelInteger) return operand.integer;
  if (operand.kind == TavKelReal && std::isfinite(operand.real)) return operand.real;
  return std::nullopt;
}

std::optional<std::string> TextOf(const kel::Operand& operand) {
  if (operand.kind != TavKelString && operand.kind != TavKelWord) return std::nullopt;
  if (operand.storage == kel::Storage::kEscaped) {
    return std::string(kel::Unescape({operand.text, operand.length}).View());
  }
  return std::string(operand.text, operand.length);
}

// Pen and fill, which hold for what follows in the same group, and where the group stands.
struct State {
  DrawingShape style;
  int depth = 0;
};

// Reads elements into shapes. The first mistake ends it: functions then return false, with the
// mistake in the result.
class Reader {
 public:
  explicit Reader(Result& result) : result_(result) {}

  bool ReadText(const SV::String& text, const std::string& folder, const std::string& file,
                State& state, int fileDepth) {
    const auto parsed = kel::Document::Parse(text);
    if (!parsed) {
      const base::Error& mistake = parsed.error();
      result_.error = (file.empty() ? "" : file + ':') + std::to_string(mistake.line) + ':' +
                      std::to_string(mistake.column) + ": " + mistake.message;
      return false;
    }
    const kel::Document& document = **parsed;
    const Source source{document.Text().View(), folder, file, fileDepth};
    return ReadElements(document.Elements(), document.Count(), source, state);
  }

 private:
  // The text that is being read: names of files in it begin in `folder`, mistakes in it name `file`
  // (empty for the drawing itself), and `depth` files lead to it.
  struct Source {
    std::string_view text;
    const std::string& folder;
    const std::string& file;
    int depth;
  };

  bool ReadElements(const kel::Element* elements, std::uint32_t count, const Source& source,
                    State& state) {
    for (std::uint32_t i = 0; i < count; ++i) {
      if (!ReadElement(elements[i], source, state)) return false;
    }
    return true;
  }

  bool ReadElement(const kel::Element& element, const Source& source, State& state) {
    const std::string_view name = element.Name();
    if (name == "PEN") return ReadPen(element, source, state);
    if (name == "FILL") return ReadFill(element, source, state);
    if (name == "GROUP") return ReadGroup(element, source, state);
    if (name == "FILE") return ReadFileElement(element, source, state);
    DrawingShape shape = state.style;
    bool isRead = false;
    if (name == "LINE") {
      isRead = ReadLine(element, source, shape);
    } else if (name == "RECTANGLE") {
      shape.kind = DrawingShape::Kind::kRectangle;
      isRead = ReadBox(element, source, shape);
    } else if (name == "ELLIPSE") {
      shape.kind = DrawingShape::Kind::kEllipse;
      isRead = ReadBox(element, source, shape);
    } else if (name == "IMAGE") {
      shape.kind = DrawingShape::Kind::kImage;
      isRead = ReadBox(element, source, shape);
    } else if (name == "POLYGON") {
      isRead = ReadPolygon(element, source, shape);
    } else if (name == "TEXT") {
      isRead = ReadTextElement(element, source, shape);
    } else {
      return Fail(source, element.name, "there is no drawing element " + std::string(name));
    }
    if (!isRead) return false;
    if (result_.drawing.shapes.size() == kMaxShapes) {
      return Fail(source, element.name, "there are more than a million shapes");
    }
    result_.drawing.shapes.push_back(std::move(shape));
    return true;
  }

  template <std::size_t Count>
  bool TakesOnly(const kel::Element& element, const Source& source,
                 const std::string_view (&known)[Count]) {
    const kel::Attribute* const foreign = Attributes(element).Foreign(known);
    if (!foreign) return true;
    return Fail(source, foreign->name,
                std::string(element.Name()) + " takes no " + std::string(foreign->Name()));
  }

  // Reads a number; `required` ones must be there.
  bool Number(const kel::Element& element, const Source& source, const char* name, bool required,
              double& out) {
    const kel::Operand* const operand = Attributes(element).Find(name);
    if (!operand) {
      return !required ||
             Fail(source, element.name, std::string(element.Name()) + " needs " + name);
    }
    const std::optional<double> number = NumberOf(*operand);
    if (!number) return Fail(source, element.name, std::string(name) + " must be a number");
    out = *number;
    return true;
  }

  bool Color(const kel::Element& element, const Source& source, DrawingColor& out) {
    const kel::Operand* const operand = Attributes(element).Find("color");
    if (!operand) return true;
    const std::optional<std::string> text = TextOf(*operand);
    const std::optional<DrawingColor> color = text ? ColorOf(*text) : std::nullopt;
    if (!color) {
      return Fail(source, element.name, "color must be a name, #RGB, #RRGGBB or #RRGGBBAA");
    }
    out = *color;
    return true;
  }

  // One of a few words; false when it is another.
  template <typename Value, std::size_t Count>
  bool Choice(const kel::Element& element, const Source& source, const char* name,
              const std::pair<std::string_view, Value> (&choices)[Count], Value& out) {
    const kel::Operand* const operand = Attributes(element).Find(name);
    if (!operand) return true;
    const std::optional<std::string> text = TextOf(*operand);
    std::string known;
    for (const auto& [word, value] : choices) {
      if (text && *text == word) {
        out = value;
        return true;
      }
      known += (known.empty() ? "" : ", ") + std::string(word);
    }
    return Fail(source, element.name, std::string(name) + " must be one of " + known);
  }

  bool ReadPen(const kel::Element& element, const Source& source, State& state) {
    static constexpr std::string_view kKnown[] = {"color", "width", "style", "none"};
    static constexpr std::pair<std::string_view, ui::DrawingDash> kStyles[] = {
        {"solid", ui::DrawingDash::kSolid},
        {"dashed", ui::DrawingDash::kDashed},
        {"dotted", ui::DrawingDash::kDotted}};
    DrawingShape& style = state.style;
    style.hasPen = !Attributes(element).Find("none");
    if (!NoMainValue(element, source) || !TakesOnly(element, source, kKnown) ||
        !Color(element, source, style.pen) ||
        !Number(element, source, "width", false, style.penWidth) ||
        !Choice(element, source, "style", kStyles, style.dash)) {
      return false;
    }
    return style.penWidth >= 0 || Fail(source, element.name, "width must not be negative");
  }

  bool ReadFill(const kel::Element& element, const Source& source, State& state) {
    static constexpr std::string_view kKnown[] = {"color", "none"};
    state.style.hasFill = !Attributes(element).Find("none");
    return NoMainValue(element, source) && TakesOnly(element, source, kKnown) &&
           Color(element, source, state.style.fill);
  }

  bool ReadLine(const kel::Element& element, const Source& source, DrawingShape& shape) {
    static constexpr std::string_view kKnown[] = {"x1", "y1", "x2", "y2"};
    shape.kind = DrawingShape::Kind::kLine;
    shape.points.resize(2);
    return NoMainValue(element, source) && TakesOnly(element, source, kKnown) &&
           Number(element, source, "x1", true, shape.points[0].x) &&
           Number(element, source, "y1", true, shape.points[0].y) &&
           Number(element, source, "x2", true, shape.points[1].x) &&
           Number(element, source, "y2", true, shape.points[1].y);
  }

  bool ReadBox(const kel::Element& element, const Source& source, DrawingShape& shape) {
    static constexpr std::string_view kKnown[] = {"x", "y", "w", "h", "radius"};
    static constexpr std::string_view kPlain[] = {"x", "y", "w", "h"};
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    const bool isRectangle = shape.kind == DrawingShape::Kind::kRectangle;
    if (!(isRectangle ? TakesOnly(element, source, kKnown) : TakesOnly(element, source, kPlain)) ||
        !Number(element, source, "x", true, x) || !Number(element, source, "y", true, y) ||
        !Number(element, source, "w", true, width) || !Number(element, source, "h", true, height) ||
        !Number(element, source, "radius", false, shape.radius)) {
      return false;
    }
    if (width < 0 || height < 0 || shape.radius < 0) {
      return Fail(source, element.name, "w, h and radius must not be negative");
    }
    shape.points = {{x, y}, {x + width, y + height}};
    if (shape.kind != DrawingShape::Kind::kImage) return NoMainValue(element, source);
    if (!MainText(element, source, shape.text)) return false;
    shape.text = Joined(source.folder, shape.text);
    return true;
  }

  bool ReadPolygon(const kel::Element& element, const Source& source, DrawingShape& shape) {
    static constexpr std::string_view kKnown[] = {"points", "open"};
    if (!NoMainValue(element, source) || !TakesOnly(element, source, kKnown)) return false;
    shape.kind = Attributes(element).Find("open") ? DrawingShape::Kind::kPolyline
                                                  : DrawingShape::Kind::kPolygon;
    const kel::Operand* const points = Attributes(element).Find("points");
    const bool isList =
        points && points->kind == TavKelList && points->length >= 4 && points->length % 2 == 0;
    for (std::uint32_t i = 0; isList && i < points->length; i += 2) {
      const std::optional<double> x = NumberOf(points->items[i]);
      const std::optional<double> y = NumberOf(points->items[i + 1]);
      if (!x || !y) break;
      shape.points.push_back({*x, *y});
    }
    if (isList && shape.points.size() * 2 == points->length) return true;
    return Fail(source, element.name, "points must be a list of numbers: (x, y, x, y, …)");
  }

  bool ReadTextElement(const kel::Element& element, const Source& source, DrawingShape& shape) {
    static constexpr std::string_view kKnown[] = {"x",    "y",      "size", "font",
                                                  "bold", "italic", "align"};
    using Align = DrawingShape::Align;
    static constexpr std::pair<std::string_view, Align> kAligns[] = {
        {"left", Align::kLeft}, {"centre", Align::kCentre}, {"right", Align::kRight}};
    shape.kind = DrawingShape::Kind::kText;
    shape.points.resize(1);
    if (!TakesOnly(element, source, kKnown) || !MainText(element, source, shape.text) ||
        !Number(element, source, "x", true, shape.points[0].x) ||
        !Number(element, source, "y", true, shape.points[0].y) ||
        !Number(element, source, "size", false, shape.textSize) ||
        !Choice(element, source, "align", kAligns, shape.align)) {
      return false;
    }
    shape.bold = Attributes(element).Find("bold") != nullptr;
    shape.italic = Attributes(element).Find("italic") != nullptr;
    if (const kel::Operand* const font = Attributes(element).Find("font")) {
      const std::optional<std::string> family = TextOf(*font);
      if (!family) return Fail(source, element.name, "font must be a string");
      shape.font = *family;
    }
    return shape.textSize > 0 || Fail(source, element.name, "size must be above 0");
  }

  // The contents of a group are scaled, then turned, then moved to x and y. Pen and fill set inside
  // hold until the group's end.
  bool ReadGroup(const kel::Element& element, const Source& source, const State& state) {
    static constexpr std::string_view kKnown[] = {"x", "y", "scale", "rotate", "content"};
    double x = 0;
    double y = 0;
    double scale = 1;
    double degrees = 0;
    if (!TakesOnly(element, source, kKnown) || !Number(element, source, "x", false, x) ||
        !Number(element, source, "y", false, y) ||
        !Number(element, source, "scale", false, scale) ||
        !Number(element, source, "rotate", false, degrees)) {
      return false;
    }
    const kel::Operand* const content = Attributes(element).Find("content");
    const kel::Operand* const body = content ? content : &element.main;
    if (body->kind != TavKelBody || (content && !element.main.IsNone())) {
      return Fail(source, element.name, "GROUP needs content:{ … }");
    }
    if (state.depth == kMaxGroupDepth) {
      return Fail(source, element.name, "there are too many groups inside each other");
    }
    const double angle = degrees * std::numbers::pi / 180;
    const double cosine = std::cos(angle) * scale;
    const double sine = std::sin(angle) * scale;
    State inner = state;
    inner.style.transform = state.style.transform.After({cosine, sine, -sine, cosine, x, y});
    ++inner.depth;
    return ReadElements(body->elements, body->length, source, inner);
  }

  bool ReadFileElement(const kel::Element& element, const Source& source, State& state) {
    static constexpr std::string_view kKnown[] = {""};
    std::string name;
    if (!TakesOnly(element, source, kKnown) || !MainText(element, source, name)) return false;
    if (source.depth == kMaxFileDepth || result_.files.size() == kMaxFiles) {
      return Fail(source, element.name, "there are too many files inside each other");
    }
    File file;
    file.path = Joined(source.folder, name);
    file.isRead = ReadFile(file.path, file.text);
    result_.files.push_back(file);
    if (!file.isRead) return Fail(source, element.name, "the file " + name + " cannot be read");
    const std::string folder = disk::FolderOf(file.path);
    return ReadText(file.text, folder, name, state, source.depth + 1);
  }

  bool MainText(const kel::Element& element, const Source& source, std::string& out) {
    const std::optional<std::string> text = TextOf(element.main);
    if (!text) return Fail(source, element.name, std::string(element.Name()) + " needs a string");
    out = *text;
    return true;
  }

  bool NoMainValue(const kel::Element& element, const Source& source) {
    if (element.main.IsNone()) return true;
    return Fail(source, element.name, std::string(element.Name()) + " takes no main value");
  }

  bool Fail(const Source& source, const char* at, const std::string& message) {
    const std::string_view before =
        source.text.substr(0, static_cast<std::size_t>(at - source.text.data()));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    // Columns count characters: the later bytes of one have the form 10xxxxxx.
    std::size_t column = 1;
    for (const char byte : before.substr(before.rfind('\n') + 1)) {
      if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) ++column;
    }
    result_.error = (source.file.empty() ? "" : source.file + ':') + std::to_string(line) + ':' +
                    std::to_string(column) + ": " + message;
    return false;
  }

  Result& result_;
};

}  // namespace

Result Read(const SV::String& text, const std::string& folder) {
  Result result;
  State state;
  if (!Reader(result).ReadText(text, folder, "", state, 0)) result.drawing.shapes.clear();
  return result;
}

bool HaveChanged(const std::vector<File>& files) {
  return std::any_of(files.begin(), files.end(), [](const File& file) {
    SV::String text;
    const bool isRead = ReadFile(file.path, text);
    return isRead != file.isRead || (isRead && !(text == file.text));
  });
}

}  // namespace drawing_reader
