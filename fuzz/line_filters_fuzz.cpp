// Filters of lines against the searches that they save. Input: an expression, bytes that choose
// among the texts that it describes, and lines.
#include <algorithm>

#include "support.h"
#include "util/line_automaton.h"
#include "util/match_bound.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

using Kind = ExpressionTree::Kind;

// Writes a text that an expression describes, but for its assertions.
class Speaker {
 public:
  Speaker(const ExpressionTree& tree, std::string_view choices) : tree_(tree), choices_(choices) {
    say(tree.root());
  }
  const std::string& text() const { return text_; }

 private:
  static constexpr std::size_t kMaxText = 400;

  std::size_t choose(std::size_t count) {
    if (choices_.empty() || count == 0) return 0;
    const auto choice = static_cast<unsigned char>(choices_.front()) % count;
    choices_.remove_prefix(1);
    return choice;
  }

  void say(std::uint32_t index) {
    const auto& node = tree_.node(index);
    std::vector<std::uint32_t> parts;
    tree_.forEachPart(node, [&](auto part) { parts.push_back(part); });
    text_ += node.text;
    if (node.kind == Kind::Bytes) sayByte(node.bytes);
    if (node.kind == Kind::Choice) say(parts[choose(parts.size())]);
    if (node.kind == Kind::Sequence) std::ranges::for_each(parts, [this](auto part) { say(part); });
    if (node.kind != Kind::Repeat) return;
    const auto extra = choose(std::min<std::size_t>(node.max - node.min, 3) + 1);
    for (std::size_t i = 0; i < node.min + extra && text_.size() < kMaxText; ++i) say(parts[0]);
  }

  // A set of bytes beyond ASCII stands for all characters there.
  void sayByte(const ByteSet& bytes) {
    std::vector<unsigned char> ascii;
    bytes.visit([&](unsigned char byte) {
      if (byte < 0x80) ascii.push_back(byte);
    });
    const auto choice = choose(ascii.size() + (bytes.contains(0x80) ? 1 : 0));
    if (choice < ascii.size()) {
      text_ += static_cast<char>(ascii[choice]);
    } else if (bytes.contains(0x80)) {
      text_ += choose(2) == 0 ? "\xC3\xA9" : "\xF0\x9F\x98\x80";
    }
  }

  const ExpressionTree& tree_;
  std::string_view choices_;
  std::string text_;
};

// The expressions of the rules that ship.
void addShipped(std::vector<std::string>& inputs, std::string_view app) {
  const auto conf = repositoryFile("etc/apps/bundled-" + std::string(app) + "/default/props.conf");
  for (const auto line : linesOf(conf)) {
    const auto equals = line.find(" = ");
    if (!line.starts_with("MORE_THAN") || equals == std::string_view::npos) continue;
    const auto expression = line.substr(equals + 3);
    inputs.push_back(joined({expression, "choose 12 of these", "2024-03-05 10:00:00,123 INFO x"}));
    inputs.push_back(joined({expression, "", "Mar  5 10:00:00 host sshd[12]: text"}));
  }
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> inputs;
  for (const char* app : {"web", "system", "windows", "java", "databases", "applications"}) {
    addShipped(inputs, app);
  }
  for (const char* expression : {"^a|^b",
                                 "^(?:a|bc)d",
                                 "^[^a]b",
                                 "^\xC3\xA9?x",
                                 "^(?!x)a{2,3}?b",
                                 "^.\\d",
                                 "^\\S\\s\\W",
                                 "",
                                 "^(a*)*b",
                                 "a$|^b",
                                 "^(?>a|b)++c",
                                 "^[]a-c\\-]x",
                                 "^[\\w.-]+=",
                                 "^a{30,40}b",
                                 "\\bz\\Z",
                                 "^(?i)a",
                                 "^[[:alpha:]]",
                                 "x(?#y)z",
                                 "^a{,3}",
                                 "(?<n>a)b",
                                 "^\\x41",
                                 "^[^\\D]1",
                                 "^\\t\\e",
                                 "^\\{(?=.{0,3000}?\"a\":)(?=.*\"bcd\":)",
                                 "^\\x1b?[.,]x",
                                 "a(?=bcd)b",
                                 "^(?i:kas[^s]|ab)c",
                                 "^[^a]{0,9}(?<=[ab]\\d)x",
                                 "^a(?i:b)c",
                                 "^(?=ab)(?:abc|abd)x",
                                 "^(?i:s)x",
                                 "^(?i:[^s])x"}) {
    inputs.push_back(
        joined({expression, "abcdefgh", "abd\xFF\nb\xC3\xA9x\n1\n\xC5\xBFx\n\xC3\xA9x\nxa"}));
  }
  inputs.push_back(joined({"^[^a]x", "", "\xC3\xA9x\n\xC3\xA9x"}));
  inputs.push_back(joined({"abc", "", std::string(1100, 'x') + "abc"}));
  return inputs;
}

void run(std::string_view input) {
  Parts parts(input);
  const std::string expression(parts.next());
  const auto choices = parts.next();
  const auto tree = ExpressionTree::parse(expression);
  if (!tree) return;
  require(compiles(expression), "an expression with a tree compiles");
  const Regex regex(expression);

  std::vector<std::string> texts{Speaker(*tree, choices).text()};
  for (const auto line : linesOf(parts.rest())) texts.emplace_back(line);
  const CountedLines lines({texts.begin(), texts.end()});
  LineAutomaton continued(*tree);
  std::size_t matches = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool isAccepted = continued.accepts(lines[i], lines.sharedStart(i));
    require(isAccepted == LineAutomaton(*tree).accepts(lines[i]),
            "the line before does not change what is accepted");
    if (!regex.match(lines[i])) continue;
    ++matches;
    require(isAccepted, "each line that matches is accepted");
  }
  require(mayMatch(*tree, lines, matches), "no more lines match than the bound");
}

}  // namespace sourcetype::fuzzing
