/* A command in C for python: takes keyword arguments, gives a dict of results. */
#define PY_SSIZE_T_CLEAN
#include <Python.h>

static PyObject* display_size(PyObject* self, PyObject* arguments, PyObject* keywords) {
  (void)self;
  (void)arguments;
  (void)keywords;
  return Py_BuildValue("{s:i,s:i}", "w", 1920, "h", 1080);
}

static PyMethodDef methods[] = {
    {"display_size", (PyCFunction)(void (*)(void))display_size, METH_VARARGS | METH_KEYWORDS, NULL},
    {NULL, NULL, 0, NULL}};
static struct PyModuleDef module = {PyModuleDef_HEAD_INIT, "bench_peer", NULL, -1, methods,
                                    NULL, NULL, NULL, NULL};

PyMODINIT_FUNC PyInit_bench_peer(void) { return PyModule_Create(&module); }
