// The table of codes.

#include "tools/findings/codes.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

#include "tests/kit/reason_name.h"

namespace {

using findings::code_description;
using findings::severity;

/// Small letters and digits, with single dashes between them.
bool is_word(std::string_view text) {
  bool after_dash = true;
  for (const char each : text) {
    const bool is_dash = each == '-';
    if (is_dash ? after_dash : !((each >= 'a' && each <= 'z') || (each >= '0' && each <= '9')))
      return false;
    after_dash = is_dash;
  }
  return !after_dash;
}

/// Starts with a capital and ends with a full stop, on one line.
bool is_sentence(std::string_view text) {
  return text.size() > 2 && text.front() >= 'A' && text.front() <= 'Z' && text.ends_with('.') &&
         text.find('\n') == std::string_view::npos;
}

TEST(Codes, AreWordsThatStandForOneThingEach) {
  std::set<std::string> words;
  for (const code_description& code : findings::every_code()) {
    EXPECT_TRUE(is_word(code.word)) << code.word;
    EXPECT_TRUE(words.insert(code.word).second) << code.word << " stands for two things";
  }
}

TEST(Codes, HaveASentenceAndAnAdvice) {
  for (const code_description& code : findings::every_code()) {
    SCOPED_TRACE(code.word);
    EXPECT_TRUE(is_sentence(code.sentence)) << code.sentence;
    EXPECT_TRUE(is_sentence(code.advice)) << code.advice;
  }
}

TEST(Codes, OfReasonsAreTheReasonsNames) {
  size_t index = 0;
  for (const kit::named_reason& each : kit::named_reasons) {
    std::string word = each.name;
    std::replace(word.begin(), word.end(), '_', '-');
    EXPECT_EQ(word, findings::describe(each.why).word);
    EXPECT_EQ(&findings::every_code()[index++], &findings::describe(each.why));
  }
}

TEST(Codes, OfObservationsFollow) {
  using findings::observation;
  EXPECT_STREQ("container-too-large", findings::describe(observation::container_too_large).word);
  EXPECT_STREQ("record-replaced", findings::describe(observation::record_replaced).word);
  EXPECT_STREQ("record-displaced", findings::describe(observation::record_displaced).word);
  EXPECT_STREQ("version-unknown", findings::describe(observation::version_unknown).word);
  EXPECT_STREQ("fraction-bits-implausible",
               findings::describe(observation::fraction_bits_implausible).word);
  EXPECT_STREQ("coordinates-implausible",
               findings::describe(observation::coordinates_implausible).word);
  EXPECT_STREQ("library-message", findings::describe(observation::library_message).word);
  EXPECT_EQ(&findings::every_code().back(), &findings::describe(observation::library_message));
}

TEST(Codes, AreErrorsWhereTheContainerIsRefusedAndNotesWhereNothingIsLost) {
  std::set<std::string> errors;
  std::set<std::string> notes;
  for (const code_description& code : findings::every_code()) {
    if (code.how_bad == severity::error) errors.insert(code.word);
    if (code.how_bad == severity::note) notes.insert(code.word);
  }
  EXPECT_EQ((std::set<std::string>{"container-missing", "container-too-short", "size-mismatch",
                                   "checksum-mismatch", "container-out-of-memory",
                                   "container-too-large"}),
            errors);
  EXPECT_EQ((std::set<std::string>{"kind-foreign", "record-superseded", "set-superseded",
                                   "record-replaced", "library-message"}),
            notes);
}

TEST(Severities, HaveWords) {
  EXPECT_STREQ("note", findings::word_of(severity::note));
  EXPECT_STREQ("warning", findings::word_of(severity::warning));
  EXPECT_STREQ("error", findings::word_of(severity::error));
}

}  // namespace
