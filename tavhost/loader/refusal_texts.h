#pragma once

#include <cstdint>
#include <string>

// Why a plug-in is refused, in the words that users read. Each text goes on from `plug-in "PATH" `.
namespace loader::messages {

inline std::string CannotRead(const std::string& reason) { return "cannot be read: " + reason; }
inline std::string NotALibrary() { return "is not a shared library"; }
inline std::string OtherMachine() { return "was built for another kind of machine"; }
inline std::string CutShort(std::uint64_t has, std::uint64_t wants) {
  return "is cut short: it has " + std::to_string(has) + " of at least " + std::to_string(wants) +
         " bytes";
}
inline std::string CannotLoad(const std::string& reason) { return "cannot be loaded: " + reason; }
inline std::string NoSymbol(const std::string& name) { return "does not export " + name; }
inline std::string WrongType(int type, int wanted) {
  return "has the type " + std::to_string(type) + ", not " + std::to_string(wanted);
}
inline std::string WrongExecutionType(int type, int wanted) {
  return "has the execution type " + std::to_string(type) + ", not " + std::to_string(wanted);
}
inline std::string WrongVersion(int version, int host) {
  return "is made for version " + std::to_string(version) + " of the host, this one is " +
         std::to_string(host);
}
inline std::string NoPortName() { return "names no message port"; }
inline std::string OtherPort(const std::string& port, const std::string& wanted) {
  return "serves the port \"" + port + "\", not \"" + wanted + "\"";
}
inline std::string CopiedPortName() { return "names its port by a copy of the host's name"; }
inline std::string LeakedException(const std::string& what) {
  return "let an exception out: " + what;
}

}  // namespace loader::messages
