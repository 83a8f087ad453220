// What may be used from several threads, used from several threads. ./dev test tsan runs these
// under the thread sanitizer.
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "conf/conf_store.h"
#include "conf/message_catalog.h"
#include "conf/stanza_pattern.h"
#include "support/temp_tree.h"
#include "timestamp/datetime_file.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

void runInThreads(const std::function<void()>& work) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work);
}

TEST(Threads, MayMatchOneExpression) {
  for (const auto compile : {Regex::Compile::ForInterpreter, Regex::Compile::ToMachineCode}) {
    const Regex regex("(\\d+)-(\\d+)", Regex::kNoOptions, compile);
    runInThreads([&] {
      for (int i = 0; i < 500; ++i) {
        const std::string subject = "7-" + std::to_string(i);
        MatchResult result;
        ASSERT_TRUE(regex.match(subject, result, Regex::Mode::Whole));
        ASSERT_EQ(result.text(2, subject), std::to_string(i));
      }
    });
  }
}

TEST(Threads, MayMatchOneStanzaPattern) {
  const StanzaPattern pattern("source::.../a*.log", kPosixPathForm);
  runInThreads([&] {
    MatchBudget budget(kMaxFileCost);
    EXPECT_EQ(pattern.match("source::/x/ab.log", budget), StanzaPattern::Answer::Match);
  });
}

TEST(Threads, MayCompileTheFormsOfTimestamps) {
  const auto formats = readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml");
  runInThreads([&] {
    for (const auto& form : formats.forms()) EXPECT_NE(form.expression.get(), nullptr);
  });
}

TEST(Threads, MayLoadTheMessages) {
  const testing::TempTree tree;
  tree.write("system/default/literals.conf", "[THREADS]\nTEXT = loaded\n");
  ConfStore store(tree.root());
  runInThreads([&] { messageCatalog(store); });
}

}  // namespace
}  // namespace sourcetype
