/* A command in C for tcl: takes names and values, sets two variables of its caller. */
#include <tcl.h>

static int DisplaySize(ClientData data, Tcl_Interp* interp, int count, Tcl_Obj* const arguments[]) {
  (void)data;
  (void)count;
  (void)arguments;
  if (!Tcl_SetVar2Ex(interp, "w", NULL, Tcl_NewIntObj(1920), TCL_LEAVE_ERR_MSG)) return TCL_ERROR;
  if (!Tcl_SetVar2Ex(interp, "h", NULL, Tcl_NewIntObj(1080), TCL_LEAVE_ERR_MSG)) return TCL_ERROR;
  return TCL_OK;
}

__attribute__((visibility("default"))) int Benchpeer_Init(Tcl_Interp* interp) {
  Tcl_CreateObjCommand(interp, "display_size", DisplaySize, NULL, NULL);
  return TCL_OK;
}
