// The terminal that the standard streams may be connected to.
#pragma once

namespace sourcetype {

enum class StandardStream { Input, Output, Error };

// True when a person sees what is written to the stream, or types what is read from it.
bool isTerminal(StandardStream stream);

// The columns of the terminal at standard output or standard error; 80 if there is none or it does
// not tell them.
unsigned terminalWidth();

// Prepares the terminal for colours and cursor movements written as ANSI escape sequences. False
// if the terminal does not know them.
bool enableEscapeSequences();

}  // namespace sourcetype
