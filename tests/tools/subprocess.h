// corvex-hal run by a test in its current folder.
#pragma once

#include "tests/support/child_process.h"

// corvex-hal without the sink, modules or properties of whoever runs the test, as a printing
// process; `variables` are "NAME=value".
class subprocess : public child_process {
  public:
    explicit subprocess(const words& arguments, const words& variables = {});
};

// Runs corvex-hal and waits for it.
finished run_program(const words& arguments, const words& variables = {});

// The same with the fake module, which has variables to tell it how to behave (fake_module.cpp).
finished run_with_fake(const words& variables, words arguments);

// It ended with this code, printed nothing but one line on standard error, and that says what is
// wrong, with this text in it, and what to do.
void expect_error(const finished& result, int code, const std::string& says);

bool has(const std::string& text, const std::string& part);
