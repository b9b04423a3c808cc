// Reading elements whose order is known and some of which repeat, out of a document whose texts are not escaped; and
// telling whether there is another way to read it.
//
// A phone writes each element on a line of its own, two blanks in front. Where that layout holds from end to end, only
// it is looked at: a text that holds tags but no line like the phone's own stays one text. Otherwise blanks between
// elements do not matter. Of several ways to read the elements, the one counts in which the texts end earliest.
#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace brelix {

// An element that may be there. One with a higher rank may follow it, and where it repeats, one of its own rank.
struct ElementRule {
  std::string_view name;
  int rank = 0;
  bool repeats = false;
  // Of an element whose text has a form of its own and holds no tags: whether it is that. Null for any text.
  bool (*fits)(std::string_view text) = nullptr;
};

struct ElementText {
  std::string_view name;
  std::string_view text;  // raw, as the phone sent it
};

struct Reading {
  std::vector<ElementText> elements;
  // The same bytes could be other elements, and a text that holds tags says that they may well be. That of two elements
  // of one name the first could reach to the end of the second is true of all that repeat, and does not count.
  bool ambiguous = false;
};

// Reads all of the body; what is returned points into it and to the rules' names. Takes time proportional to its length
// times the number of rules. Throws a protocol failure where no reading accounts for every byte.
Reading ReadElements(std::string_view body, std::span<const ElementRule> rules);

// What stands between the opening tag of the root and its closing tag, which ends the document. The line feed behind
// the opening tag is not part of it. Throws a protocol failure when the root does not open and close.
std::string_view InsideRoot(std::string_view document, std::string_view root);

}  // namespace brelix
