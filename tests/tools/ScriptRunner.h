// An interpreter printing into a string, for running script text and catching its error.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "Interpreter.h"
#include "ScriptError.h"

namespace tonvik {

class ScriptRunner : public testing::Test {
 protected:
  // What `text` printed.
  std::string run(const std::string& text) {
    out_.str("");
    interpreter_->run(text);
    return out_.str();
  }
  // The error `text` stopped with.
  ScriptError errorOf(const std::string& text) {
    try {
      interpreter_->run(text);
    } catch (const ScriptError& error) {
      return error;
    }
    ADD_FAILURE() << "no error for: " << text;
    return ScriptError("");
  }

  std::ostringstream out_;
  std::unique_ptr<Interpreter> interpreter_ = std::make_unique<Interpreter>(out_);
};

}  // namespace tonvik
