// The system's interface without what is not used of it. Included by the Windows half alone.
#pragma once

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX  // some standard libraries define it
#define NOMINMAX
#endif
#include <windows.h>
