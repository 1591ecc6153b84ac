#include "tavhost/lsp/language_server.h"

#include <algorithm>
#include <map>
#include <new>
#include <nlohmann/json.hpp>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/analysis/built_in_help.h"
#include "tavhost/analysis/check.h"
#include "tavhost/analysis/completion.h"
#include "tavhost/base/diagnostic.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/string_of.h"
#include "tavhost/lsp/language_document.h"
#include "tavhost/lsp/language_server_stream.h"
#include "tavhost/notation/scan.h"
#include "tavhost/reference/reference.h"
#include "tavhost/reference/reference_text.h"
#include "tavhost/script/syntax/included_file.h"

namespace lsp {

namespace {

using nlohmann::json;

// The program's exit codes, which the protocol fixes.
constexpr int kEndedAsAsked = 0;  // the client asked for the end first
constexpr int kEndedUnasked = 1;

enum ErrorCode {
  kParseError = -32700,
  kInvalidRequest = -32600,
  kMethodNotFound = -32601,
  kInvalidParams = -32602,
  kInternalError = -32603,
  kNotInitialized = -32002,
};

// A request that cannot be answered.
struct RequestError {
  int code;
  std::string message;
};

enum CompletionKind {
  kFunctionItem = 3,
  kVariableItem = 6,
  kPropertyItem = 10,
  kKeywordItem = 14,
  kCommandItem = 23
};
enum SymbolItemKind { kFunctionSymbol = 12, kVariableSymbol = 13 };

json ToJson(EditorPlace place) { return {{"line", place.line}, {"character", place.character}}; }
json ToJson(EditorPlace begin, EditorPlace end) {
  return {{"start", ToJson(begin)}, {"end", ToJson(end)}};
}

// Whether a message nests deeper than any that means something: copying and writing what was read
// recurse over it.
bool IsTooDeep(std::string_view text) {
  constexpr int kDeepest = 200;
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char byte = text[i];
    if (inString) {
      if (byte == '\\') ++i;
      inString = byte != '"';
    } else if (byte == '"') {
      inString = true;
    } else if (byte == '[' || byte == '{') {
      if (++depth > kDeepest) return true;
    } else if (byte == ']' || byte == '}') {
      --depth;
    }
  }
  return false;
}

// The innermost command around a place: the name that its statement begins with.
const reference::Command* CommandAround(std::string_view text, std::size_t offset) {
  std::size_t start = offset;
  while (start > 0) {
    const char before = text[start - 1];
    const bool isContinued = before == '\n' && start > 1 && text[start - 2] == '\\';
    if ((before == '\n' && !isContinued) || before == ';' || before == '{' || before == '}') break;
    --start;
  }
  while (start < offset && !kel::IsNameStart(text[start])) ++start;
  const char* const begin = text.data() + start;
  const char* const end = kel::ScanName(begin, text.data() + text.size());
  return reference::Catalogue::Get().Find({begin, static_cast<std::size_t>(end - begin)});
}

// The name of the file in quotes behind an `include` around a place; empty when there is none.
std::string IncludedNameAt(std::string_view text, std::size_t offset) {
  const std::size_t feed = text.rfind('\n', offset == 0 ? 0 : offset - 1);
  const std::size_t start = feed == std::string_view::npos || offset == 0 ? 0 : feed + 1;
  std::string_view line = text.substr(start, text.find('\n', start) - start);
  while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
  if (!line.starts_with("include")) return {};
  const std::size_t open = line.find('"');
  const std::size_t close = open == std::string_view::npos ? open : line.find('"', open + 1);
  if (close == std::string_view::npos) return {};
  return std::string(line.substr(open + 1, close - open - 1));
}

std::string ParameterText(const reference::Parameter& parameter) {
  std::string text = "**" + parameter.name + "** (" + std::string(NameOf(parameter.type)) +
                     (parameter.required ? ", required" : "") + ")\n\n" + parameter.text;
  for (const auto& value : parameter.values) text += "\n- `" + value.value + "`: " + value.text;
  return text;
}

// One client, from its first message to its last. Notifications, which are messages without an id,
// are never answered, not even with an error.
class LanguageServer {
 public:
  explicit LanguageServer(MessageStream& stream) : stream_(stream) {}

  int Run() {
    while (!hasExited_) {
      const std::optional<std::string> text = stream_.Read();
      if (!text) return kEndedUnasked;  // the client went without a word
      if (!Take(*text)) return kEndedUnasked;
    }
    return isShutDown_ ? kEndedAsAsked : kEndedUnasked;
  }

 private:
  // False when nobody listens any more.
  bool Take(const std::string& text) {
    try {
      return TakeWithinMemory(text);
    } catch (const std::bad_alloc&) {
      const memory_reserve::Use reserve;
      return Fail(nullptr, {kInternalError, "out of memory"});
    }
  }

  bool TakeWithinMemory(const std::string& text) {
    if (IsTooDeep(text)) return Fail(nullptr, {kParseError, "nested too deep"});
    const json message = json::parse(text, nullptr, false);
    if (message.is_discarded()) return Fail(nullptr, {kParseError, "this is no JSON"});
    if (!message.is_object()) return Fail(nullptr, {kInvalidRequest, "this is no request"});
    const json id = message.value("id", json());
    const auto method = message.find("method");
    if (method == message.end() || !method->is_string()) {
      // An answer to a request; this server makes none, so it is nobody's.
      if (message.contains("result") || message.contains("error")) return true;
      return Fail(id, {kInvalidRequest, "a request has a method"});
    }
    const bool isRequest = message.contains("id");
    const json params = message.value("params", json::object());
    try {
      const json result = Handle(method->get<std::string>(), params, isRequest);
      return !isRequest || Send({{"jsonrpc", "2.0"}, {"id", id}, {"result", result}});
    } catch (const RequestError& error) {
      return !isRequest || Fail(id, error);
    } catch (const json::exception& error) {
      return !isRequest || Fail(id, {kInvalidParams, error.what()});
    }
  }

  bool Send(const json& message) {
    return stream_.Write(message.dump(-1, ' ', false, json::error_handler_t::replace));
  }

  bool Fail(const json& id, const RequestError& error) {
    return Send({{"jsonrpc", "2.0"},
                 {"id", id},
                 {"error", {{"code", error.code}, {"message", error.message}}}});
  }

  json Handle(const std::string& method, const json& params, bool isRequest) {
    if (method == "exit") {
      hasExited_ = true;
      return nullptr;
    }
    if (method == "initialize") {
      isInitialized_ = true;
      return Capabilities();
    }
    if (!isInitialized_) throw RequestError{kNotInitialized, "initialize comes first"};
    if (isShutDown_) throw RequestError{kInvalidRequest, "the server is shut down"};
    if (method == "shutdown") {
      isShutDown_ = true;
      return nullptr;
    }
    if (method == "textDocument/didOpen") {
      const json& opened = params.at("textDocument");
      SetText(opened.at("uri"), opened.at("text"));
    } else if (method == "textDocument/didChange") {
      Change(params);
    } else if (method == "textDocument/didSave") {
      // What other documents include may have changed.
      for (const auto& [uri, document] : documents_) Publish(document);
    } else if (method == "textDocument/didClose") {
      Close(params.at("textDocument").at("uri"));
    } else if (method == "textDocument/completion") {
      return Complete(params);
    } else if (method == "textDocument/hover") {
      return Hover(params);
    } else if (method == "textDocument/definition") {
      return Define(params);
    } else if (method == "textDocument/documentSymbol") {
      return Symbols(params);
    } else if (method == "textDocument/codeAction") {
      return Actions(params);
    } else if (isRequest) {
      throw RequestError{kMethodNotFound, "unknown method " + method};
    }
    return nullptr;
  }

  static json Capabilities() {
    constexpr int kIncremental = 2;
    return {{"capabilities",
             {{"textDocumentSync", {{"openClose", true}, {"change", kIncremental}, {"save", true}}},
              {"completionProvider", {{"triggerCharacters", {":", " "}}}},
              {"hoverProvider", true},
              {"definitionProvider", true},
              {"documentSymbolProvider", true},
              {"codeActionProvider", {{"codeActionKinds", {"quickfix"}}}}}},
            {"serverInfo", {{"name", "tavhost"}}}};
  }

  const LanguageDocument& DocumentOf(const json& params) const {
    const std::string uri = params.at("textDocument").at("uri");
    const auto found = documents_.find(uri);
    if (found == documents_.end()) throw RequestError{kInvalidParams, "not open: " + uri};
    return found->second;
  }

  static EditorPlace PlaceOf(const json& place) {
    return {place.at("line").get<std::int64_t>(), place.at("character").get<std::int64_t>()};
  }

  void SetText(const std::string& uri, std::string text) {
    LanguageDocument& document = documents_.try_emplace(uri, uri).first->second;
    document.SetText(std::move(text));
    Publish(document);
  }

  void Change(const json& params) {
    const LanguageDocument& document = DocumentOf(params);
    std::string text = document.Text();
    for (const json& change : params.at("contentChanges")) {
      const std::string inserted = change.at("text");
      const auto range = change.find("range");
      if (range == change.end() || range->is_null()) {
        text = inserted;
        continue;
      }
      const std::size_t begin = LanguageDocument::OffsetIn(text, PlaceOf(range->at("start")));
      const std::size_t end = LanguageDocument::OffsetIn(text, PlaceOf(range->at("end")));
      text.replace(begin, std::max(begin, end) - begin, inserted);
    }
    SetText(document.Uri(), std::move(text));
  }

  void Close(const std::string& uri) {
    documents_.erase(uri);
    Send({{"jsonrpc", "2.0"},
          {"method", "textDocument/publishDiagnostics"},
          {"params", {{"uri", uri}, {"diagnostics", json::array()}}}});
  }

  static std::vector<base::Diagnostic> FindingsOf(const LanguageDocument& document) {
    const std::string& text = document.Text();
    return check::CheckScript(base::StringOf(text), document.Name());
  }

  // The range of a finding. One in an included file is shown where that is included.
  static json RangeOf(const LanguageDocument& document, const base::Diagnostic& finding) {
    if (finding.file == document.Name()) {
      return ToJson(document.PlaceOf(finding.line, finding.column),
                    document.PlaceOf(finding.line, finding.column + finding.length));
    }
    const std::string name = finding.file.substr(finding.file.find_last_of("/\\") + 1);
    const std::size_t found = document.Text().find(name + '"');
    if (found == std::string::npos) return ToJson({0, 0}, {0, 1});
    return ToJson(document.PlaceOf(found), document.PlaceOf(found + name.size()));
  }

  void Publish(const LanguageDocument& document) {
    constexpr int kError = 1;
    constexpr int kHint = 4;
    json diagnostics = json::array();
    for (const base::Diagnostic& finding : FindingsOf(document)) {
      const bool isHere = finding.file == document.Name();
      const std::string place = finding.file + ':' + std::to_string(finding.line) + ": ";
      diagnostics.push_back(
          {{"range", RangeOf(document, finding)},
           {"severity", finding.severity == base::Severity::kError ? kError : kHint},
           {"source", "tavhost"},
           {"message", isHere ? finding.message : place + finding.message}});
    }
    Send({{"jsonrpc", "2.0"},
          {"method", "textDocument/publishDiagnostics"},
          {"params", {{"uri", document.Uri()}, {"diagnostics", diagnostics}}}});
  }

  json Complete(const json& params) const {
    const LanguageDocument& document = DocumentOf(params);
    const std::size_t offset = document.OffsetOf(PlaceOf(params.at("position")));
    const std::string_view before = std::string_view(document.Text()).substr(0, offset);
    const std::string function = document.FunctionAt(offset);
    std::vector<std::string> names{"args"};
    for (const check::Symbol& symbol : document.Symbols()) {
      const bool isSeen = symbol.kind == check::SymbolKind::kFunction || symbol.function.empty() ||
                          symbol.function == function;
      if (isSeen) names.push_back(symbol.name);
    }
    const std::size_t wordLength = check::WordToComplete(before).size();
    const json range = ToJson(document.PlaceOf(offset - wordLength), document.PlaceOf(offset));
    const reference::Command* const command = CommandAround(document.Text(), offset);
    json items = json::array();
    for (const std::string& word : check::CompleteScript(before, names)) {
      if (word == "help") continue;  // only the prompt knows it
      json item = {{"label", word}, {"textEdit", {{"range", range}, {"newText", word}}}};
      Describe(item, word, document, command, offset);
      items.push_back(std::move(item));
    }
    return items;
  }

  static void Describe(json& item, const std::string& word, const LanguageDocument& document,
                       const reference::Command* command, std::size_t offset) {
    const std::string name = word.ends_with(':') ? word.substr(0, word.size() - 1) : word;
    const reference::Parameter* const parameter = command ? command->FindParameter(name) : nullptr;
    const reference::Command* const known = reference::Catalogue::Get().Find(name);
    const check::BuiltInHelp* const help = check::FindBuiltInHelp(name);
    if (parameter) {
      item["kind"] = kPropertyItem;
      item["detail"] = parameter->text;
    } else if (known) {
      item["kind"] = kCommandItem;
      item["detail"] = known->summary;
    } else if (const check::Symbol* symbol = document.Find(name, offset)) {
      item["kind"] = symbol->kind == check::SymbolKind::kFunction ? kFunctionItem : kVariableItem;
    } else if (help) {
      item["kind"] = kFunctionItem;
      item["detail"] = help->usage;
    } else {
      item["kind"] = kKeywordItem;
    }
  }

  json Hover(const json& params) const {
    const LanguageDocument& document = DocumentOf(params);
    const std::size_t offset = document.OffsetOf(PlaceOf(params.at("position")));
    const std::string_view word = document.WordAt(offset);
    if (word.empty()) return nullptr;
    const std::string text = HoverText(document, word, offset);
    if (text.empty()) return nullptr;
    const auto begin = static_cast<std::size_t>(word.data() - document.Text().data());
    return {{"contents", {{"kind", "markdown"}, {"value", text}}},
            {"range", ToJson(document.PlaceOf(begin), document.PlaceOf(begin + word.size()))}};
  }

  static std::string HoverText(const LanguageDocument& document, std::string_view word,
                               std::size_t offset) {
    if (const reference::Command* command = reference::Catalogue::Get().Find(word)) {
      return command->summary + "\n\n```\n" + reference::CommandText(*command) + "```";
    }
    const reference::Command* const around = CommandAround(document.Text(), offset);
    if (around) {
      if (const auto* parameter = around->FindParameter(word)) return ParameterText(*parameter);
    }
    if (const check::Symbol* symbol = document.Find(word, offset)) return SymbolText(*symbol);
    if (const check::BuiltInHelp* help = check::FindBuiltInHelp(word)) {
      return "```\n" + std::string(help->usage) + "\n```\n\n" + help->text;
    }
    return {};
  }

  static std::string SymbolText(const check::Symbol& symbol) {
    if (symbol.kind == check::SymbolKind::kFunction) {
      std::string text = "```\nfunc " + symbol.name + '(';
      for (std::size_t i = 0; i < symbol.parameters.size(); ++i) {
        text += (i > 0 ? ", " : "") + symbol.parameters[i];
      }
      return text + ")\n```";
    }
    if (symbol.kind == check::SymbolKind::kParameter) {
      return "A parameter of `" + symbol.function + "`.";
    }
    if (symbol.command.empty()) return "A variable.";
    const reference::Command* command = reference::Catalogue::Get().Find(symbol.command);
    const reference::Result* result = command ? command->FindResult(symbol.name) : nullptr;
    if (!result) return "The results of `" + symbol.command + "`.";
    std::string text = "A result of `" + symbol.command + "`. " + result->text;
    for (const auto& value : result->values) text += "\n- `" + value.value + "`: " + value.text;
    return text;
  }

  json Define(const json& params) const {
    const LanguageDocument& document = DocumentOf(params);
    const std::size_t offset = document.OffsetOf(PlaceOf(params.at("position")));
    const std::string included = IncludedNameAt(document.Text(), offset);
    if (!included.empty()) {
      return {{"uri", UriOfPath(script::NameBeside(document.Name(), included))},
              {"range", ToJson({0, 0}, {0, 0})}};
    }
    const std::string_view word = document.WordAt(offset);
    const check::Symbol* const symbol = word.empty() ? nullptr : document.Find(word, offset);
    if (!symbol) return nullptr;
    if (symbol->file == document.Name()) {
      return {{"uri", document.Uri()},
              {"range", ToJson(document.PlaceOf(symbol->offset),
                               document.PlaceOf(symbol->offset + symbol->name.size()))}};
    }
    const auto file = script::ReadIncludedFile(symbol->file);
    const std::string_view text = file ? file->text.View() : std::string_view();
    return {
        {"uri", UriOfPath(symbol->file)},
        {"range", ToJson(LanguageDocument::PlaceIn(text, symbol->offset),
                         LanguageDocument::PlaceIn(text, symbol->offset + symbol->name.size()))}};
  }

  json Symbols(const json& params) const {
    const LanguageDocument& document = DocumentOf(params);
    json symbols = json::array();
    for (const check::Symbol& symbol : document.Symbols()) {
      const bool isFunction = symbol.kind == check::SymbolKind::kFunction;
      // A variable that a command's result makes has no place of its own in the text.
      const bool isResult =
          !symbol.command.empty() && symbol.offset < document.Text().size() &&
          document.Text().compare(symbol.offset, symbol.name.size(), symbol.name) != 0;
      if (symbol.file != document.Name() || isResult) continue;
      if (!isFunction && !symbol.function.empty()) continue;
      const json name = ToJson(document.PlaceOf(symbol.offset),
                               document.PlaceOf(symbol.offset + symbol.name.size()));
      const json whole =
          isFunction ? ToJson(document.PlaceOf(symbol.begin), document.PlaceOf(symbol.end)) : name;
      symbols.push_back({{"name", symbol.name},
                         {"kind", isFunction ? kFunctionSymbol : kVariableSymbol},
                         {"range", whole},
                         {"selectionRange", name}});
    }
    return symbols;
  }

  // Quick fixes: for each mistake in the range the word that is likely meant.
  json Actions(const json& params) const {
    const LanguageDocument& document = DocumentOf(params);
    const EditorPlace begin = PlaceOf(params.at("range").at("start"));
    const EditorPlace end = PlaceOf(params.at("range").at("end"));
    json actions = json::array();
    for (const base::Diagnostic& finding : FindingsOf(document)) {
      const std::int64_t line = std::int64_t{finding.line} - 1;
      const bool isWanted = line >= begin.line && line <= end.line &&
                            finding.file == document.Name() && !finding.replacement.empty();
      if (!isWanted) continue;
      const json edit = {{"range", RangeOf(document, finding)}, {"newText", finding.replacement}};
      actions.push_back({{"title", "Replace by " + finding.replacement},
                         {"kind", "quickfix"},
                         {"edit", {{"changes", {{document.Uri(), json::array({edit})}}}}}});
    }
    return actions;
  }

  MessageStream& stream_;
  std::map<std::string, LanguageDocument> documents_;
  bool isInitialized_ = false;
  bool isShutDown_ = false;
  bool hasExited_ = false;
};

}  // namespace

int ServeLanguage() {
  MessageStream stream(stdin, stdout);
  return LanguageServer(stream).Run();
}

}  // namespace lsp
