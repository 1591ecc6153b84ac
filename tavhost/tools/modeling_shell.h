#pragma once

// Plug-ins find a modelling shell exactly while there is a model window. This host has no models:
// it is told whether to behave as if there were such a window.
namespace modeling_shell {

void SetModelWindow(bool exists);

}  // namespace modeling_shell
