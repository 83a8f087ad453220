#include <vector>

#include "platform/entry_point.h"
#include "platform/path_form.h"

int main(int argc, char** argv) {
  sourcetype::endRunWhenMemoryRunsOut();
  std::vector<sourcetype::Argument> arguments;
  for (const char* word : std::span(argv, static_cast<std::size_t>(argc))) {
    arguments.push_back({.path = sourcetype::pathFromText(word), .text = word});
  }
  return sourcetype::programMain(arguments);
}
