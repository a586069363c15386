#pragma once

// What becomes of the messages of the solver's libraries.

#include <CoinMessageHandler.hpp>

/// Writes messages to standard output if the log level asks for any, and never ends the program,
/// whatever a message says. The libraries move their own log level up and down; that of the options
/// is kept apart from it.
class VakMessagesI final : public CoinMessageHandler {
 public:
  explicit VakMessagesI(int level = 0) { setLevel(level); }
  [[nodiscard]] CoinMessageHandler* clone() const override { return new VakMessagesI(*this); }
  int print() override { return _level > 0 ? CoinMessageHandler::print() : 0; }
  /// The usual one aborts at severe messages; the status that follows says enough.
  void checkSeverity() override {}

  [[nodiscard]] int getLevel() const { return _level; }
  void setLevel(int level) {
    _level = level;
    setLogLevel(level);
  }

 private:
  int _level = 0;  ///< As the options have it.
};
