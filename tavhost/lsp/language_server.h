#pragma once

namespace lsp {

// `tavhost lsp`: speaks the language server protocol over standard input and output until the
// client says goodbye. Returns the exit code, which the protocol fixes.
int ServeLanguage();

}  // namespace lsp
