#pragma once

// The host says whether there is a model window; the modelling shell exists while there is one.
namespace modeling_shell {

void SetModelWindow(bool exists);

}  // namespace modeling_shell
