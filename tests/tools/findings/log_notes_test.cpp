// Who collects the messages of the log.

#include "tools/findings/log_notes.h"

#include <gtest/gtest.h>

#include <thread>

#include "qo_log.h"

namespace {

using findings::log_note;
using findings::log_notes;

std::vector<std::string> texts_of(log_notes& notes) {
  std::vector<std::string> texts;
  for (const log_note& note : notes.take())
    texts.push_back(std::to_string(note.level) + " " + note.text);
  return texts;
}

using texts = std::vector<std::string>;

TEST(LogNotes, HoldTheMessagesFormattedWithoutLineEnds) {
  log_notes notes;
  qo_log(2, "%d of %s\n", 7, "nine");
  qo_log(0, "plain");
  EXPECT_EQ((texts{"2 7 of nine", "0 plain"}), texts_of(notes));
  EXPECT_EQ(texts{}, texts_of(notes)) << "taken once";
}

TEST(LogNotes, HoldLongMessagesWhole) {
  log_notes notes;
  const std::string text(5000, 'x');
  qo_log(1, "%s\n", text.c_str());
  EXPECT_EQ(texts{"1 " + text}, texts_of(notes));
}

TEST(LogNotes, AreDroppedWhereNobodyCollects) {
  qo_log(1, "nobody\n");
  log_notes notes;
  EXPECT_EQ(texts{}, texts_of(notes));
}

TEST(LogNotes, GoToTheInnermostCollector) {
  log_notes outer;
  {
    log_notes inner;
    qo_log(1, "inner\n");
    EXPECT_EQ(texts{"1 inner"}, texts_of(inner));
  }
  qo_log(1, "outer\n");
  EXPECT_EQ(texts{"1 outer"}, texts_of(outer));
}

TEST(LogNotes, OfAnotherThreadAreItsOwn) {
  log_notes notes;
  texts of_thread;
  std::thread([&] {
    qo_log(1, "before\n");
    log_notes own;
    qo_log(1, "of the thread\n");
    of_thread = texts_of(own);
  }).join();
  EXPECT_EQ(texts{"1 of the thread"}, of_thread);
  EXPECT_EQ(texts{}, texts_of(notes));
}

}  // namespace
