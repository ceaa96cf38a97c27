// Lingo names, keywords and symbols ignore case; these helpers fold ASCII letters only, which is
// all Lingo folds.
#pragma once

#include <string>
#include <string_view>

namespace tonvik {

inline char foldChar(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string foldCase(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) c = foldChar(c);
  return folded;
}

inline bool equalsFolded(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (foldChar(a[i]) != foldChar(b[i])) return false;
  }
  return true;
}

}  // namespace tonvik
