// HINSTANCE / HMODULE: the opaque handle of a loaded module (the executable or a library).
#pragma once

// The null handle stands for the process's own executable, as in the Windows calls that take one.
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
