#include <cstring>

#include "tavhost/notation/kel_text.h"
#include "tavhost/script/code/compiler.h"

namespace script {

namespace {

template <typename T>
T* NewTable(base::Arena& arena, std::uint32_t count) {
  auto* table = static_cast<T*>(arena.Allocate(sizeof(T) * count));
  for (std::uint32_t i = 0; i < count; ++i) new (table + i) T();
  return table;
}

}  // namespace

void Compiler::CompileCommand(const Statement* statement) {
  auto command = std::make_unique<Command>();
  std::vector<Dynamic> found;
  FillElement(command->element, statement->element, found);
  command->name = std::string(statement->element->name);
  command->record = statement->slot == kNoSlot ? Command::kIntoScope : statement->slot;
  bool anyCalls = statement->port && statement->port->calls;
  for (const Dynamic& value : found) anyCalls = anyCalls || value.expr->calls;
  if (statement->port) command->port = StableOperand(statement->port, anyCalls);
  for (const Dynamic& value : found) {
    const std::uint32_t reg = StableOperand(value.expr, anyCalls);
    command->patches.push_back({value.operand, reg, value.expr->offset});
  }
  program_.commands.push_back(std::move(command));
  Emit(Code::kCommand, 0, 0, static_cast<std::int32_t>(program_.commands.size() - 1),
       CodePlace{statement->offset, statement->port ? statement->port->offset : statement->offset,
                 statement->offset});
}

void Compiler::FillElement(kel::Element& out, const CommandElement* element,
                           std::vector<Dynamic>& found) {
  out.name = element->name.data();
  out.nameLength = static_cast<std::uint32_t>(element->name.size());
  FillOperand(out.main, element->main, found);
  out.attributeCount = element->attributeCount;
  auto* attributes = NewTable<kel::Attribute>(program_.tables, element->attributeCount);
  out.attributes = attributes;
  for (const auto* attribute = element->attributes; attribute;
       attribute = attribute->next, ++attributes) {
    attributes->name = attribute->name.data();
    attributes->nameLength = static_cast<std::uint32_t>(attribute->name.size());
    FillOperand(attributes->operand, attribute->value, found);
  }
}

void Compiler::FillOperand(kel::Operand& out, const CommandValue& value,
                           std::vector<Dynamic>& found) {
  switch (value.kind) {
    case CommandValueKind::kNone:
      break;
    case CommandValueKind::kWord:
    case CommandValueKind::kString:
      out.kind = value.kind == CommandValueKind::kWord ? TavKelWord : TavKelString;
      out.storage = value.escaped ? kel::Storage::kEscaped : kel::Storage::kRaw;
      out.length = static_cast<std::uint32_t>(value.text.size());
      out.text = value.text.data();
      if (MayRepeat()) {
        // A string that is made once and shared by every run that reads it, instead of one made of
        // the text's bytes each time. Not worth it for what runs only once.
        const auto constant = static_cast<std::uint32_t>(program_.constants.size());
        program_.constants.emplace_back(kel::TextOf(out), static_cast<TavKelValueType>(out.kind));
        program_.constantOperands.emplace_back(&out, constant);
      }
      break;
    case CommandValueKind::kInteger:
      out.kind = TavKelInteger;
      out.integer = value.integer;
      break;
    case CommandValueKind::kReal:
      out.kind = TavKelReal;
      out.real = value.real;
      break;
    case CommandValueKind::kExpr: {
      // A constant in parentheses is as good as one without.
      if (const kel::Value* constant = ConstantOf(value.expr)) {
        out.kind = constant->Kind();
        program_.constantOperands.emplace_back(&out, value.expr->index);
        break;
      }
      found.push_back({&out, value.expr});
      break;
    }
    case CommandValueKind::kBody: {
      out.kind = TavKelBody;
      out.storage = kel::Storage::kElements;
      out.length = value.count;
      auto* elements = NewTable<kel::Element>(program_.tables, value.count);
      out.elements = elements;
      for (const auto* element = value.elements; element; element = element->next, ++elements) {
        FillElement(*elements, element, found);
      }
      break;
    }
  }
}

}  // namespace script
