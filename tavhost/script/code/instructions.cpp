#include <cmath>

#include "tavhost/notation/kel_text.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/code_points.h"
#include "tavhost/script/engine.h"
#include "tavhost/script/operations.h"

// What instructions do beyond the common cases that interpreter.cpp handles itself.
namespace script {

using kel::Value;

namespace {

// `+=` and its kin.
bool IsUpdateSign(std::string_view text) {
  const std::size_t signs = text.starts_with("//") ? 2 : 1;
  return text.size() > signs && text[signs] == '=' &&
         std::string_view("+-*/%").find(text[0]) != std::string_view::npos;
}

// Whether two values are one: what is shared has not been changed since it was copied.
bool IsSame(const Value& a, const Value& b) {
  if (a.Kind() != b.Kind()) return false;
  if (a.IsText()) return a.Text().GetStr() == b.Text().GetStr() && a.Text().Len() == b.Text().Len();
  return a.Kind() == TavKelList && &a.AsList() == &b.AsList();
}

}  // namespace

const Value& Engine::ReadOuter(const Frame& frame, std::uint32_t reg, Part part) {
  const Function& function = *frame.function;
  if (reg >= function.layout.Count()) throw ScriptError("this has no value", part);
  if (const kel::Scope* outer = frame.scope->Enclosing()) {
    Function::Outer& cached = function.outer[reg];
    const bool isGlobal = outer == &kel::Scope::Of(GlobalVariables());
    if (isGlobal && cached.value && cached.generation == outer->Generation()) {
      return *cached.value;
    }
    if (const Value* found = outer->Read(function.layout.Name(reg).View())) {
      if (isGlobal) cached = {found, outer->Generation()};
      return *found;
    }
  }
  std::string message =
      "the variable \"" + std::string(function.layout.Name(reg).View()) + "\" has no value";
  if (part == Part::kLeft && IsUpdateSign(frame.program->source.TextFrom(PlaceOf(frame).at))) {
    message += BeginningOf(frame, Value());
  }
  throw ScriptError(message, part);
}

// What is updated is quoted as it stands in the text, unless it goes on for too long to help.
std::string Engine::BeginningOf(const Frame& frame, const Value& added) const {
  constexpr std::size_t kLongest = 60;
  const CodePlace& place = PlaceOf(frame);
  const std::string_view whole = frame.program->source.TextFrom(place.left);
  const std::string_view sign = frame.program->source.TextFrom(place.at);
  std::string_view path = whole.substr(0, whole.size() - sign.size());
  while (path.ends_with(' ') || path.ends_with('\t')) path.remove_suffix(1);
  if (path.empty() || path.size() > kLongest || path.find('\n') != std::string_view::npos)
    return {};
  std::string text = "; begin with " + std::string(path) + " = ";
  if (added.IsText()) return text + "\"\"";
  if (added.Kind() == TavKelList) return text + "()";
  if (added.IsNone() && sign.starts_with('+')) return text + "0, \"\" or ()";
  return text + (sign.starts_with('+') || sign.starts_with('-') ? "0" : "1");
}

void Engine::Store(Frame& frame, std::uint32_t slot, Value value) {
  if (frame.function->layout.IsGlobal(slot)) {
    kel::Scope& outermost = frame.scope->Outermost();
    if (&outermost != frame.scope) {
      outermost.Set(frame.function->layout.Name(slot).View(), std::move(value));
      return;
    }
  }
  frame.registers[slot] = std::move(value);
}

// The place of a variable that is about to be changed in part. A variable that has a value only in
// an enclosing scope gets a copy of its own first.
Value& Engine::Changeable(Frame& frame, std::uint32_t slot) {
  Value& own = frame.registers[slot];
  if (!own.IsNone()) return own;
  if (frame.function->layout.IsGlobal(slot)) {
    kel::Scope& outermost = frame.scope->Outermost();
    if (Value* global = outermost.Find(frame.function->layout.Name(slot).View())) return *global;
  }
  own = ReadOuter(frame, slot, Part::kLeft);
  return own;
}

void Engine::AddTo(Frame& frame, std::uint32_t slot, const Value* added, std::uint32_t count) {
  Value* place = &frame.registers[slot];
  if (place->IsNone() && frame.function->layout.IsGlobal(slot)) {
    place = frame.scope->Outermost().Find(frame.function->layout.Name(slot).View());
  }
  if (place && place->IsText()) {
    // What is added is put together first, so that an error meanwhile leaves the text as it was.
    SV::String all;
    const SV::String* text = &all;
    if (count == 1 && added->IsText()) {
      text = &added->Text();
    } else {
      for (std::uint32_t i = 0; i < count; ++i) AppendShown(all, added[i], *this);
    }
    place->MutableText().Append(text->GetStr(), text->Len());
    ChargeBytes(text->View().size());
    return;
  }
  if (place && !place->IsNone() && count == 1) return Update(*place, Operator::kAdd, *added, *this);
  Value sum = Read(frame, slot, Part::kLeft);
  for (std::uint32_t i = 0; i < count; ++i) sum = Arithmetic(Operator::kAdd, sum, added[i], *this);
  Store(frame, slot, std::move(sum));
}

void Engine::SetPath(Frame& frame, Instruction i) {
  Value* const keys = &frame.registers[BOf(i)];
  const auto count = static_cast<std::uint32_t>(COf(i));
  Value* place = &Changeable(frame, AOf(i));
  for (std::uint32_t k = 0; k < count; ++k) {
    place =
        k + 1 < count ? &KnownPlaceIn(*place, keys[k], *this) : &PlaceIn(*place, keys[k], *this);
  }
  *place = std::move(keys[count]);
  for (std::uint32_t k = 0; k < count; ++k) keys[k] = Value();
}

// The place that is updated, which has to have a value.
Value& Engine::UpdatedPlace(Frame& frame, Instruction i, std::uint32_t count, const Value& added) {
  const Value* const keys = &frame.registers[BOf(i)];
  Value* place = &Changeable(frame, AOf(i));
  for (std::uint32_t k = 0; k < count; ++k) {
    const bool isField = place->Kind() == TavKelRecord && keys[k].IsText();
    const bool isItem = place->Kind() == TavKelList && keys[k].Kind() == TavKelInteger;
    try {
      place = &KnownPlaceIn(*place, keys[k], *this);
    } catch (ScriptError& missing) {
      if (k + 1 == count && isField) missing.message += BeginningOf(frame, added);
      if (missing.part == Part::kWhole) missing.part = Part::kLeft;
      if (k + 1 == count && isItem) missing.message += "; \"push\" adds an item";
      throw;
    }
  }
  return *place;
}

void Engine::ReadPath(Frame& frame, Instruction i) {
  const auto count = static_cast<std::uint32_t>(COf(i));
  frame.registers[BOf(i) + count + 1] = UpdatedPlace(frame, i, count, Value());
}

void Engine::UpdatePath(Frame& frame, Instruction i) {
  Value* const keys = &frame.registers[BOf(i)];
  const auto count = static_cast<std::uint32_t>(COf(i) & kUpdateKeys);
  const auto op = static_cast<Operator>((COf(i) & (kUpdateIsRead - 1)) >> kUpdateOperatorShift);
  const Value& operand = keys[count];
  Value& read = keys[count + 1];
  Value& place = UpdatedPlace(frame, i, count, operand);
  if ((COf(i) & kUpdateIsRead) != 0 && !IsSame(read, place)) {
    place = Arithmetic(op, read, operand, *this);
  } else {
    read = Value();  // it shares what is to grow
    Update(place, op, operand, *this);
  }
  for (std::uint32_t k = 0; k < count + 2; ++k) keys[k] = Value();
}

void Engine::Push(Frame& frame, Instruction i) {
  Value* const keys = &frame.registers[BOf(i)];
  const auto count = static_cast<std::uint32_t>(COf(i));
  Value* place = &Changeable(frame, AOf(i));
  for (std::uint32_t k = 0; k < count; ++k) place = &KnownPlaceIn(*place, keys[k], *this);
  if (place->Kind() != TavKelList) {
    throw ScriptError(std::string("\"push\" needs a list, not ") + KindWord(*place), Part::kLeft);
  }
  if (place->AsList().sharers > 1) Charge(place->AsList().items.size());
  auto& items = place->MutableList().items;
  if (items.size() >= kMostItems) throw ScriptError("the list is too long");
  items.push_back(std::move(keys[count]));
  const auto length = static_cast<std::int32_t>(items.size());
  for (std::uint32_t k = 0; k <= count; ++k) keys[k] = Value();
  keys[0] = Value(length);
}

bool Engine::CountStart(Frame& frame, Instruction i) {
  Value* const from = &frame.registers[AOf(i)];
  bool anyReal = false;
  for (int k = 0; k < 3; ++k) {
    if (from[k].Kind() != TavKelInteger && from[k].Kind() != TavKelReal) {
      static constexpr const char* kPlaces[] = {"start", "end", "step"};
      throw ScriptError(std::string("the ") + kPlaces[k] +
                        " of a counting loop must be a number, not " + KindWord(from[k]));
    }
    anyReal = anyReal || from[k].Kind() == TavKelReal;
  }
  if (AsReal(from[2]) == 0) throw ScriptError("the step of a counting loop is 0");
  if (anyReal) {
    for (int k = 0; k < 3; ++k) from[k].SetReal(AsReal(from[k]));
  }
  from[3].SetReal(0);
  const double first = AsReal(from[0]);
  const double last = AsReal(from[1]);
  if (AsReal(from[2]) > 0 ? first > last : first < last) return false;
  frame.registers[BOf(i)] = from[0];
  return true;
}

// For reals. Each number is worked out of the start and the number of rounds: adding the step up
// would add up its rounding errors as well.
bool Engine::CountStep(Frame& frame, Instruction i) {
  Value* const from = &frame.registers[AOf(i)];
  const double round = from[3].Real() + 1;
  const double next = from[0].Real() + round * from[2].Real();
  const bool goesOn = from[2].Real() > 0 ? next <= from[1].Real() : next >= from[1].Real();
  if (!goesOn) return false;
  from[3].SetReal(round);
  frame.registers[BOf(i)].SetReal(next);
  return true;
}

void Engine::EachStart(Frame& frame, Instruction i) {
  Value* const whole = &frame.registers[AOf(i)];
  if (whole->Kind() == TavKelRecord) {
    Value keys = Value::List();
    for (const kel::Field& field : whole->AsRecord().fields) {
      keys.MutableList().items.push_back(Value(field.name));
      Did(1);
    }
    *whole = std::move(keys);
  } else if (whole->Kind() != TavKelList && !whole->IsText()) {
    throw ScriptError(std::string("a loop goes through a list, a text or a record, not ") +
                      KindWord(*whole));
  }
  whole[1].SetInteger(0);
}

bool Engine::EachNext(Frame& frame, Instruction i) {
  Value* const whole = &frame.registers[AOf(i)];
  const auto at = static_cast<std::size_t>(whole[1].Integer());
  std::size_t step = 1;
  bool goesOn = false;
  if (whole->Kind() == TavKelList) {
    const auto& items = whole->AsList().items;
    goesOn = at < items.size();
    if (goesOn) frame.registers[BOf(i)] = items[at];
  } else {
    const std::string_view text = whole->Text().View();
    goesOn = at < text.size();
    if (goesOn) {
      step = CodePointLength(text, at);
      frame.registers[BOf(i)] = Value(SV::String(text.data() + at, static_cast<long>(step)));
    }
  }
  if (goesOn) {
    whole[1].SetInteger(static_cast<std::int32_t>(at + step));
  } else {
    *whole = Value();  // so that changing what was gone through needs no copy
  }
  return goesOn;
}

void Engine::CallNamed(Frame& frame, Instruction i) {
  const std::uint32_t count = BOf(i);
  Value* const arguments = &frame.registers[AOf(i)];
  const std::string name(arguments[count].Text().View());
  const auto found = functions_.find(name);
  if (found == functions_.end()) {
    std::vector<std::string_view> known;
    for (const auto& [other, unused] : functions_) known.emplace_back(other);
    throw ScriptError(UnknownFunctionText(name, *frame.program, known));
  }
  const std::uint32_t takes = found->second.function->parameters;
  if (takes != count) {
    throw ScriptError('"' + name + "\" takes " + std::to_string(takes) +
                      (takes == 1 ? " argument" : " arguments") + ", not " + std::to_string(count));
  }
  PushCall(found->second.program.get(), found->second.function, arguments, count, AOf(i));
}

void Engine::CallBuiltIn(Frame& frame, Instruction i) {
  const std::uint32_t count = BOf(i);
  Value* const arguments = &frame.registers[AOf(i)];
  // Whatever the function does with a long text: a loop around it looks at the stop in time.
  for (std::uint32_t k = 0; k < count; ++k) {
    if (arguments[k].IsText()) ChargeBytes(static_cast<std::size_t>(arguments[k].Text().Len()));
  }
  Value result = kBuiltIns[COf(i)].run(*this, arguments, count);
  arguments[0] = std::move(result);
  for (std::uint32_t k = 1; k < count; ++k) {
    if (!arguments[k].IsNone()) arguments[k] = Value();
  }
  if (--budget_ <= 0) Poll();
}

void Engine::PrintValues(Frame& frame, Instruction i) {
  Value* const values = &frame.registers[AOf(i)];
  const std::uint32_t count = BOf(i);
  SV::String line;
  for (std::uint32_t k = 0; k < count; ++k) {
    if (k > 0) line += ' ';
    AppendShown(line, values[k], *this);
    values[k] = Value();
  }
  line += '\n';
  for (std::string_view rest = line.View(); !rest.empty();) {
    const std::string_view piece = rest.substr(0, kPiece);
    Print(piece);
    DidBytes(piece.size());
    rest.remove_prefix(piece.size());
  }
}

void Engine::Throw(Frame& frame, Instruction i) {
  const Value& thrown = Read(frame, AOf(i), Part::kLeft);
  const Value* message =
      thrown.Kind() == TavKelRecord ? thrown.AsRecord().Find("message") : nullptr;
  ScriptError error(std::string(Shown(message ? *message : thrown, *this).View()));
  error.thrown = thrown;
  throw error;
}

void Engine::Exit(Frame& frame, Instruction i) {
  const Value& code = Read(frame, AOf(i), Part::kLeft);
  if (code.Kind() != TavKelInteger) {
    throw ScriptError(std::string("\"exit\" takes an integer, not ") + KindWord(code), Part::kLeft);
  }
  throw ExitRequest{code.Integer()};
}

}  // namespace script
