#include "conf/conf_store.h"

#include <gtest/gtest.h>

#include "conf/ini_file.h"
#include "platform/path_form.h"
#include "support/system.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using std::string_literals::operator""s;
using sourcetype::testing::TempTree;
using std::filesystem::perms;

// A configuration tree and a store on it.
struct Tree : TempTree {
  ConfStore store{root(), kPosixPathForm};
  Conf& props = store.getProps();

  PropertiesMap settings(std::string_view names, PatternMatching matching = PatternMatching::No) {
    PropertiesMap result;
    store.getStanzaSettings(props, result, names, matching);
    return result;
  }
  PropertiesMap match(std::string_view names) { return settings(names, PatternMatching::Yes); }
};

TEST(ConfStore, TakesEachSettingFromTheStrongestLayerThatHasIt) {
  Tree tree;
  const char* const layers[] = {"system/local",    "apps/a/local",          "apps/b/local",
                                "users/u/a/local", "apps/c/default",        "bundles/default",
                                "system/default",  "apps/bundled-a/default"};
  // Layer i and all weaker layers have key i.
  for (std::size_t layer = 0; layer < std::size(layers); ++layer) {
    std::string text = "[s]\n";
    for (std::size_t key = 0; key <= layer; ++key) {
      text += "k" + std::to_string(key) + " = " + layers[layer] + "\n";
    }
    tree.write(std::string(layers[layer]) + "/props.conf", text);
  }
  const auto found = tree.settings("s");
  for (std::size_t key = 0; key < std::size(layers); ++key) {
    const std::string name = "k" + std::to_string(key);
    EXPECT_EQ(found.get(name), layers[key]);
    EXPECT_EQ(tree.store.settingFile(tree.props, "s", name), tree.path(layers[key]) / "props.conf");
  }
}

TEST(ConfStore, LooksStanzasUpByPriorityAndName) {
  sourcetype::testing::forEachRow("conf/lookups.txt", 4, [](const sourcetype::testing::Row& row) {
    Tree tree;
    tree.write("system/local/props.conf", row[1]);
    EXPECT_EQ(tree.match(row[2]).get("k"), row[3]);
  });
}

TEST(ConfStore, LeavesTheCallersKeysAlone) {
  Tree tree;
  tree.write("system/local/props.conf", "[s]\nk=1\nj=1\n");
  PropertiesMap map{{"k", "mine"}};
  tree.store.getStanzaSettings(tree.props, map, "s", PatternMatching::No);
  EXPECT_EQ(map, (PropertiesMap{{"j", "1"}, {"k", "mine"}}));
  EXPECT_EQ(map.entries().at("j").stanza, "s");
}

TEST(WriteStanza, WritesOnlySettingsThatDiffer) {
  Tree tree;
  tree.write("system/default/props.conf", "[default]\nd=1\n[s]\nsame=1\nother=1\n");
  EXPECT_TRUE(tree.store.writeStanza(
      tree.props, "s", {{"d", "1"}, {"same", "1"}, {"other", "2"}, {"none", ""}}, false));
  EXPECT_EQ(tree.read("system/local/props.conf"), "[s]\nother = 2\n");
  EXPECT_EQ(tree.settings("s").get("other"), "2");
}

TEST(WriteStanza, AddsAnEmptyStanza) {
  Tree tree;
  tree.write("system/default/props.conf", "[default]\nd=1\n");
  EXPECT_TRUE(tree.store.writeStanza(tree.props, "s", {{"d", "1"}}, false));
  EXPECT_TRUE(tree.store.stanzaExists(tree.props, "s"));
  EXPECT_EQ(tree.read("system/local/props.conf"), "[s]\n");
}

TEST(WriteStanza, KeepsWhatAnotherProcessHasWritten) {
  Tree tree;
  EXPECT_FALSE(tree.store.stanzaExists(tree.props, "theirs"));
  tree.write("system/local/props.conf", "[theirs]\nk = 1\n");
  EXPECT_TRUE(tree.store.writeStanza(tree.props, "ours", {{"k", "2"}}, false));
  EXPECT_EQ(tree.read("system/local/props.conf"), "[theirs]\nk = 1\n\n[ours]\nk = 2\n");
  EXPECT_TRUE(tree.store.stanzaExists(tree.props, "theirs"));
}

TEST(WriteStanza, FailsWhereTheFileHoldsMoreThanIsRead) {
  Tree tree;
  const auto file = tree.write("system/local/props.conf", "");
  std::filesystem::resize_file(file, ConfFile::kMaxBytes + 1);
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(tree.store.writeStanza(tree.props, "s", {{"k", "1"}}, false));
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("cannot read what it holds: File too"),
            std::string::npos);
  EXPECT_EQ(std::filesystem::file_size(file), ConfFile::kMaxBytes + 1);
}

// All files have "[s]" and "k = 1"; a reader that ignores the encoding finds neither.
TEST(ForeignEncoding, SkipsTheFileAndNeverWritesIt) {
  const std::string ascii = "[s]\r\nk = 1\r\n";
  std::string bigEndian, littleEndian;
  for (const char c : ascii) {
    bigEndian += {'\0', c};
    littleEndian += {c, '\0'};
  }
  for (const auto& [bytes, encoding] :
       {std::pair{"\xFF\xFE" + littleEndian, "UTF-16"}, std::pair{littleEndian, "UTF-16"},
        std::pair{"\xFE\xFF" + bigEndian, "UTF-16"}, std::pair{bigEndian, "UTF-16"},
        std::pair{"[t]\n" + littleEndian, "UTF-16"}, std::pair{"\xFF\xFE\0\0"s, "UTF-32"}}) {
    SCOPED_TRACE(::testing::PrintToString(bytes));
    Tree tree;
    tree.write("system/default/props.conf", "[s]\nk = default\n");
    const auto file = tree.write("system/local/props.conf", bytes);
    const auto learned = tree.write("apps/learned/local/sourcetypes.conf", bytes);
    Conf& models = tree.store.getConf("sourcetypes");

    ::testing::internal::CaptureStderr();
    EXPECT_EQ(tree.settings("s").get("k"), "default");
    EXPECT_FALSE(tree.store.writeStanza(tree.props, "s", {{"k", "2"}}, false));
    EXPECT_FALSE(tree.store.writeLearnedStanza(models, "m", {{"_sourcetype", "t"}}));
    EXPECT_TRUE(tree.store.dropLearnedStanzas(models, {"s"}, {}).error);
    const auto log = ::testing::internal::GetCapturedStderr();
    const auto advice = std::string("it is text in ") + encoding + "; save it as UTF-8";
    EXPECT_NE(log.find("Cannot use " + pathToText(file) + ": " + advice), log.npos) << log;
    EXPECT_NE(log.find("cannot read what it holds: " + advice), log.npos) << log;
    EXPECT_EQ(tree.read("system/local/props.conf"), bytes);
    EXPECT_EQ(tree.read("apps/learned/local/sourcetypes.conf"), bytes);

    ::testing::internal::CaptureStderr();
    std::error_code error;
    EXPECT_TRUE(IniFile::read(learned, error).stanzas().empty());
    EXPECT_TRUE(isEncodingError(error));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find(pathToText(learned)), log.npos);
  }
}

TEST(ForeignEncoding, IsSeenInSevenBytes) {
  EXPECT_TRUE(findEncodingError("x\0a\0b\0c\0x"s));
  EXPECT_FALSE(findEncodingError("x\0a\0b\0cxx"s));
}

TEST(AddStanza, LeavesAloneWhatAnotherProcessHasJustWritten) {
  Tree tree;
  tree.write("apps/a/default/props.conf", "[elsewhere]\nk = 1\n");
  EXPECT_FALSE(tree.store.stanzaExists(tree.props, "s"));
  tree.write("system/local/props.conf", "[s]\nk = theirs\n");
  for (const char* taken : {"s", "elsewhere"}) {
    EXPECT_EQ(tree.store.addStanza(tree.props, taken, {{"k", "2"}}, false),
              WriteOutcome::Overtaken);
  }
  EXPECT_EQ(tree.read("system/local/props.conf"), "[s]\nk = theirs\n");
  EXPECT_TRUE(tree.store.stanzaExists(tree.props, "s"));
  EXPECT_EQ(tree.store.addStanza(tree.props, "t", {{"k", "2"}}, false), WriteOutcome::Written);
  EXPECT_EQ(tree.settings("t").get("k"), "2");
}

// A power failure during the append: the file ends in a part of the stanza, with the placeholder.
TEST(AddStanza, LosesNothingWhenItWasInterrupted) {
  for (const std::string end : {"\n", "\r\n"}) {
    const std::string old = "[s]" + end + "k = 1" + end;
    const std::string added = end + "[torn]" + end + "a = 1" + end + "b = \\\n 2" + end;
    std::string torn = added;
    torn[end.size() - 1] = '[';
    for (std::size_t size = 0; size <= torn.size(); ++size) {
      SCOPED_TRACE(torn.substr(0, size));
      Tree tree;
      tree.write("system/local/props.conf", old + torn.substr(0, size));
      ::testing::internal::CaptureStderr();
      EXPECT_FALSE(tree.store.stanzaExists(tree.props, "torn"));
      EXPECT_EQ(
          tree.store.countStanzas(tree.props, "", [](auto name) { return !name.starts_with('['); }),
          size == end.size() ? 2U : 1U);  // the stanza with an empty name
      EXPECT_EQ(tree.store.addStanza(tree.props, "torn", {{"a", "1"}, {"b", "\n 2"}}, false),
                WriteOutcome::Written);
      tree.store.reload(tree.props);
      EXPECT_EQ(tree.settings("s"), (PropertiesMap{{"k", "1"}}));
      EXPECT_EQ(tree.settings("torn"), (PropertiesMap{{"a", "1"}, {"b", "\n 2"}}));
      EXPECT_TRUE(tree.read("system/local/props.conf").starts_with(old));
      ::testing::internal::GetCapturedStderr();
      if (size == 0) {
        EXPECT_EQ(tree.read("system/local/props.conf"), old + added);
      }
    }
  }
}

TEST(AddStanza, DecidesAgainWhenTheLockFileIsDeleted) {
  if (!testing::kHasPermissionBits) GTEST_SKIP() << "the system refuses to delete it";
  for (const std::string old : {"", "[old]\n"}) {  // the file is created, or appended to
    Tree tree;
    if (!old.empty()) tree.write("system/local/props.conf", old);
    ConfStore other(tree.root(), kPosixPathForm);
    int asked = 0;
    ::testing::internal::CaptureStderr();
    const auto outcome = tree.store.writeStanzaIf(tree.props, "ours", {{"k", "1"}}, true, [&] {
      if (++asked == 1) {
        std::filesystem::remove(tree.path("system/local/props.conf.lock"));
        EXPECT_TRUE(other.writeStanza(other.getProps(), "theirs", {{"k", "2"}}, true));
      }
      return true;
    });
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(outcome, WriteOutcome::Written);
    EXPECT_EQ(asked, 2);
    const auto text = tree.read("system/local/props.conf");
    EXPECT_NE(text.find("[theirs]\nk = 2\n"), text.npos) << text;
    EXPECT_NE(text.find("[ours]\nk = 1\n"), text.npos) << text;
  }
}

TEST(AddStanza, CanBeTakenBackOnceAndAlone) {
  for (const std::string old : {"[old]\nk = 1\n", "[old]\nk = 1", ""}) {
    for (const bool othersWrite : {false, true}) {
      Tree tree;
      if (!old.empty()) tree.write("system/local/props.conf", old);
      ASSERT_EQ(tree.store.addStanza(tree.props, "s", {{"k", "2"}}, false), WriteOutcome::Written);
      ConfStore other(tree.root(), kPosixPathForm);
      if (othersWrite) other.writeStanza(other.getProps(), "theirs", {{"k", "3"}}, true);
      tree.store.takeBackStanza(tree.props, "old");
      tree.store.takeBackStanza(tree.props, "s");
      EXPECT_FALSE(tree.store.stanzaExists(tree.props, "s"));
      EXPECT_EQ(tree.store.stanzaExists(tree.props, "old"), !old.empty());
      EXPECT_EQ(tree.store.stanzaExists(tree.props, "theirs"), othersWrite);
      if (!othersWrite && old.ends_with('\n')) {
        EXPECT_EQ(tree.read("system/local/props.conf"), old);
      }
      tree.write("system/local/props.conf", "[s]\nk = 2\n");
      tree.store.takeBackStanza(tree.props, "s");  // of another process now
      tree.store.reload(tree.props);
      EXPECT_TRUE(tree.store.stanzaExists(tree.props, "s"));
    }
  }
}

TEST(WriteStanza, FailsWhenOneProcessKeepsTheLock) {
  const Tree tree;
  ConfStore store(tree.root(), kPosixPathForm, std::chrono::milliseconds(1));
  tree.write("system/local/props.conf", "");
  {
    const FileLock held(tree.path("system/local/props.conf.lock"), std::chrono::milliseconds(0));
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(store.writeStanza(store.getProps(), "s", {{"k", "1"}}, false));
    const auto log = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("holds the lock"), log.npos) << log;
  }
  EXPECT_TRUE(store.hasGivenUp());
  // Another failure does not undo that.
  std::filesystem::create_directory(tree.path("system/local/transforms.conf.lock"));
  EXPECT_FALSE(store.writeStanza(store.getTransforms(), "s", {{"k", "1"}}, false));
  EXPECT_TRUE(store.hasGivenUp());
  // The attempt that failed still waits, and has the lock for a moment.
  ConfStore patient(tree.root(), kPosixPathForm);
  EXPECT_TRUE(patient.writeStanza(patient.getProps(), "s", {{"k", "1"}}, false));
}

TEST(WriteStanzaIf, ChecksTheConditionUnderTheLock) {
  Tree tree;
  EXPECT_EQ(tree.settings("s").get("k"), "");
  tree.write("system/local/props.conf", "[s]\nk = theirs\n");
  const auto write = [&](const std::string& expected) {
    return tree.store.writeStanzaIf(tree.props, "s", {{"k", "mine"}}, true,
                                    [&] { return tree.settings("s").get("k") == expected; });
  };
  EXPECT_EQ(write(""), WriteOutcome::Overtaken);
  EXPECT_EQ(write("theirs"), WriteOutcome::Written);
  EXPECT_EQ(tree.read("system/local/props.conf"), "[s]\nk = mine\n");
}

TEST(WriteLearnedStanza, WritesToItsOwnAppAndLookupsFindIt) {
  Tree tree;
  Conf& models = tree.store.getConf("sourcetypes");
  EXPECT_FALSE(tree.store.stanzaExists(models, "m"));
  EXPECT_TRUE(tree.store.writeLearnedStanza(models, "m", {{"_sourcetype", "t"}, {"word", "0.5"}}));
  EXPECT_EQ(tree.read("apps/learned/local/sourcetypes.conf"), "[m]\n_sourcetype = t\nword = 0.5\n");
  EXPECT_TRUE(tree.store.stanzaExists(models, "m"));
  tree.write("apps/learned/local/sourcetypes.conf", "[m]\n_sourcetype = t");
  EXPECT_TRUE(tree.store.writeLearnedStanza(models, "n", {{"_sourcetype", "u"}}));
  EXPECT_EQ(tree.read("apps/learned/local/sourcetypes.conf"),
            "[m]\n_sourcetype = t\n\n[n]\n_sourcetype = u\n");
}

TEST(DropLearnedStanzas, DeletesAnEmptyFileButKeepsALink) {
  Tree tree;
  Conf& models = tree.store.getConf("sourcetypes");
  const auto file = tree.store.learnedFile(models);
  ASSERT_TRUE(tree.store.writeLearnedStanza(models, "m", {{"_sourcetype", "t"}}));
  EXPECT_EQ(tree.store.dropLearnedStanzas(models, {"m", "n"}, {}).stanzas, 1U);
  EXPECT_FALSE(exists(file));

  if (!testing::kHasSymbolicLinks) GTEST_SKIP();
  const auto shared = tree.write("shared.conf", "[m]\n_sourcetype = t\n");
  std::filesystem::permissions(shared, perms::owner_read | perms::owner_write);
  std::filesystem::create_symlink(shared, file);
  const auto copy = tree.store.dropLearnedStanzas(models, {"m"}, {}).copy;
  EXPECT_TRUE(std::filesystem::is_symlink(file));
  EXPECT_EQ(tree.read("shared.conf"), "");
  EXPECT_EQ(copy, tree.path("shared.conf.old"));
  EXPECT_EQ(tree.read("shared.conf.old"), "[m]\n_sourcetype = t\n");
  if (!testing::kHasPermissionBits) return;
  EXPECT_EQ(std::filesystem::status(copy).permissions(), perms::owner_read | perms::owner_write);
}

TEST(DropLearnedStanzas, KeepsTheOldCopyWhenThereIsNothingToDrop) {
  Tree tree;
  Conf& models = tree.store.getConf("sourcetypes");
  const char* const old = "apps/learned/local/sourcetypes.conf.old";
  tree.write(old, "precious");
  for (const char* learned : {"", "[new]\n_sourcetype = t\n"}) {
    if (*learned != '\0') tree.write("apps/learned/local/sourcetypes.conf", learned);
    const auto dropped = tree.store.dropLearnedStanzas(models, {"m"}, {"new"});
    EXPECT_FALSE(dropped.error);
    EXPECT_EQ(dropped.stanzas, 0U);
    EXPECT_EQ(tree.read(old), "precious");
  }
}

}  // namespace
}  // namespace sourcetype
