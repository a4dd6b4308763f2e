#pragma once
// A scripted terminal that is the console's terminal for as long as it lives.

#include <string>
#include <utility>

#include "console/scripted_terminal.h"

class TypedTerminal {
  public:
    explicit TypedTerminal(std::string typed = "") : terminal_(std::move(typed)) {}
    ScriptedTerminal *operator->() { return &terminal_; }

  private:
    ScriptedTerminal terminal_;
    ScopedTerminal scope_{&terminal_};
};
