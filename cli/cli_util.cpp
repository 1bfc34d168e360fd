#include "cli/cli_util.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>

#include "corvale/core/convert.h"
#include "corvale/core/log.h"

namespace corvale::cli {

void PrintError(const Error& error) {
  std::cerr << "error " << error.number() << ": " << error.description() << "\n";
}

int ReportFailure(std::exception_ptr failure) {
  PrintError(ErrorFromException(failure));
  return kExitFailure;
}

namespace {

struct Choice {
  std::string_view word;  // the first letter is what the user types
  MsgAnswer answer;
};

std::vector<Choice> ChoicesFor(MsgButtons buttons) {
  switch (buttons) {
    case MsgButtons::OK:
      return {{"ok", MsgAnswer::OK}};
    case MsgButtons::OKCancel:
      return {{"ok", MsgAnswer::OK}, {"cancel", MsgAnswer::Cancel}};
    case MsgButtons::AbortRetryIgnore:
      return {
          {"abort", MsgAnswer::Abort}, {"retry", MsgAnswer::Retry}, {"ignore", MsgAnswer::Ignore}};
    case MsgButtons::YesNoCancel:
      return {{"yes", MsgAnswer::Yes}, {"no", MsgAnswer::No}, {"cancel", MsgAnswer::Cancel}};
    case MsgButtons::YesNo:
      return {{"yes", MsgAnswer::Yes}, {"no", MsgAnswer::No}};
    case MsgButtons::RetryCancel:
      return {{"retry", MsgAnswer::Retry}, {"cancel", MsgAnswer::Cancel}};
  }
  return {{"ok", MsgAnswer::OK}};
}

// The answer that goes ahead, and the one that stops when no one can be asked.
MsgAnswer Affirmative(MsgButtons buttons) { return ChoicesFor(buttons).front().answer; }

MsgAnswer Refusal(MsgButtons buttons) {
  switch (buttons) {
    case MsgButtons::AbortRetryIgnore:
      return MsgAnswer::Abort;
    case MsgButtons::YesNo:
      return MsgAnswer::No;
    case MsgButtons::OK:
      return MsgAnswer::OK;
    default:
      return MsgAnswer::Cancel;
  }
}

std::optional<MsgAnswer> ParseAnswer(std::string_view line, MsgButtons buttons) {
  line = TrimBlanks(line);
  if (line.empty()) return std::nullopt;
  for (const Choice& choice : ChoicesFor(buttons)) {
    if (EqualsNoCase(line, choice.word) || EqualsNoCase(line, choice.word.substr(0, 1))) {
      return choice.answer;
    }
  }
  // "yes" confirms an OK/Cancel question too.
  if (buttons == MsgButtons::OKCancel && (EqualsNoCase(line, "y") || EqualsNoCase(line, "yes")))
    return MsgAnswer::OK;
  return std::nullopt;
}

std::string Prompt(MsgButtons buttons) {
  std::string prompt;
  for (const Choice& choice : ChoicesFor(buttons)) {
    if (!prompt.empty()) prompt += "/";
    prompt +=
        "[" + std::string(choice.word.substr(0, 1)) + "]" + std::string(choice.word.substr(1));
  }
  return prompt + "? ";
}

}  // namespace

TerminalHost::TerminalHost(bool assumeYes) : TerminalHost(assumeYes, AskOnTerminal) {}

TerminalHost::TerminalHost(bool assumeYes, Ask ask) : assumeYes_(assumeYes), ask_(std::move(ask)) {}

MsgAnswer TerminalHost::MessageBox(std::string_view text, std::string_view title, MsgIcon,
                                   MsgButtons buttons) {
  std::cerr << title << ": " << text << "\n";
  if (buttons == MsgButtons::OK) return MsgAnswer::OK;
  if (assumeYes_) {
    std::cerr << "(answered " << ChoicesFor(buttons).front().word << " by --yes)\n";
    return Affirmative(buttons);
  }
  for (int attempt = 0; attempt < 3; ++attempt) {
    std::optional<std::string> line = ask_ ? ask_(Prompt(buttons)) : std::nullopt;
    if (!line) {
      std::cerr << "(not confirmed: no terminal to ask on; --yes answers "
                << ChoicesFor(buttons).front().word << ")\n";
      return Refusal(buttons);
    }
    if (std::optional<MsgAnswer> answer = ParseAnswer(*line, buttons)) return *answer;
  }
  return Refusal(buttons);
}

std::optional<std::string> AskOnTerminal(std::string_view prompt) {
  if (!isatty(STDIN_FILENO)) return std::nullopt;
  std::fstream tty("/dev/tty", std::ios::in | std::ios::out);
  if (!tty) return std::nullopt;
  tty << prompt << std::flush;
  std::string line;
  if (!std::getline(tty, line)) return std::nullopt;
  return line;
}

void UseTerminalHost(bool assumeYes) { SetHostServices(std::make_shared<TerminalHost>(assumeYes)); }

}  // namespace corvale::cli
