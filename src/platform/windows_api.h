// The system's interface, without its rarely used parts. Included by *_windows.cpp only.
#pragma once

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX  // some standard libraries define it
#define NOMINMAX
#endif
#include <windows.h>
