// SPDX-License-Identifier: Apache-2.0
// The module cabinaudio._board. It is not linked with the client library, which is not bound yet
// when this module is loaded.
#include "plugins/loader/Loader.h"

#include <Python.h>

namespace {

PyObject* bind(PyObject* /*module*/, PyObject* /*unused*/) {
    return PyBool_FromLong(cabinaudio::plugin::bindLibrary() ? 1 : 0);
}

PyMethodDef gMethods[] = {
    {"bind", bind, METH_NOARGS,
     "bind() -> bool\n\nLoads the client library behind the board's stand-in, where the "
     "development "
     "kit is installed and neither is loaded yet. Returns whether the library is bound so."},
    {nullptr, nullptr, 0, nullptr}};

PyModuleDef gModule = {PyModuleDef_HEAD_INIT,
                       "_board",
                       "Binds the client library to the board, or to its stand-in.",
                       -1,
                       gMethods,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr};

}  // namespace

// Python prescribes the name and the linkage.
PyMODINIT_FUNC PyInit__board(void) {  // NOLINT
    return PyModule_Create(&gModule);
}
