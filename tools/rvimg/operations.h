// The operations of `rvimg convert`, one row each, with the options that
// qualify them: which kernel call each makes, and how its options become the
// call's flags.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "ruvokit/rvkrn.h"

namespace rvimg {

struct Step;

// Runs a step on the picture in place; the kernel's status.
using RunFn = int32_t (*)(BITMAPRECORD *picture, const Step &step);
using CheckFn = bool (*)(const std::string &arg);

struct Operation {
  const char *name;  // "--bits"
  const char *args;  // its arguments as --help spells them
  int arg_count;     // 0 or 1
  CheckFn check;     // whether an argument is well formed
  RunFn run;         // the call
  const char *call;  // the kernel call that does it
  const char *help;
};

// A word of an option and the flags it stands for.
struct Choice {
  const char *word;
  uint32_t flags;
};

struct Option {
  const char *name;  // "--dither"
  const char *of;    // the operation it qualifies
  const char *args;  // its argument as --help spells it ("" for a switch)
  const Choice *choices;  // the words it takes, or null
  size_t choice_count;
  uint32_t flags;    // a switch's flags, or those of a word not among the choices (0: refused)
  CheckFn check;     // a free argument's form (choices null)
  const char *help;
};

// One operation with its arguments and options, as given.
struct Step {
  const Operation *op = nullptr;
  std::string arg;
  std::vector<std::pair<const Option *, std::string>> options;

  // What the options add to the call's flags.
  uint32_t flags() const;
  // The argument of an option, or null when it wasn't given.
  const std::string *option(const char *name) const;
};

// Reads operations and their options; false with a message in `error`.
bool parse_steps(const std::vector<std::string> &words, std::vector<Step> *steps, std::string *error);

// The operations and options with their spellings.
void print_operations(FILE *out);

}  // namespace rvimg
