#include <regex>

#include "tests/tools/shading/made_subject.h"
#include "tests/tools/shading/shading_cases.h"
#include "tools/sample/sample_module.h"
#include "tools/shading/markup.h"
#include "tools/shading/shading.h"

namespace {

using shading::subject;

size_t count(const std::string& text, const std::string& part) {
  size_t found = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

std::string sample_page() {
  return shading::html_page(shading::collect("sample.vexb", sample_container(), sample_nvm()));
}

TEST(HtmlPage, NeedsNothingFromOutsideAndNoScript) {
  const std::string page = sample_page();
  EXPECT_EQ(0u, count(page, "http"));
  EXPECT_EQ(0u, count(page, "<script"));
  EXPECT_EQ(0u, count(page, "@import"));
  EXPECT_EQ(0u, count(page, "url("));
  EXPECT_EQ(0u, count(page, "src="));
  // Every address is the picture's own bytes, or a place on the page.
  EXPECT_EQ(count(page, "href="),
            count(page, "href=\"data:image/png;base64,") + count(page, "href=\"#"));
}

TEST(HtmlPage, HasTheSamplesPanelsTablesAndSummary) {
  const std::string page = sample_page();
  for (const char* const words : {"Light 1 (1 of 3)",
                                  "Light 3 (3 of 3)",
                                  "C1 before",
                                  "G1 after",
                                  "G2 ratio",
                                  "C2 after",
                                  ">gain<",
                                  ">ratio<",
                                  ">column<",
                                  ">row<",
                                  "65 x 49 samples",
                                  "fraction bits: 12 before, 12",
                                  "sample module",
                                  "sample.vexb",
                                  "top left (0, 0)",
                                  "centre (32, 24)",
                                  "bottom right (64, 48)",
                                  "largest left - right",
                                  "Gains below 1.0",
                                  "wrapped",
                                  "slots filled",
                                  "33 of 33",
                                  "id=\"findings\""})
    EXPECT_NE(0u, count(page, words)) << words;
  // Twelve heat maps a light, and two colour bars.
  EXPECT_EQ(3u * (12 + 2), count(page, "<image "));
}

TEST(HtmlPage, WithoutAModuleShowsOnlyBefore) {
  const std::string page =
      shading::html_page(shading::collect("sample.vexb", sample_container(), std::nullopt));
  EXPECT_NE(0u, count(page, "C1 before"));
  EXPECT_EQ(0u, count(page, "C1 after"));
  EXPECT_EQ(0u, count(page, "C1 ratio"));
  EXPECT_NE(0u, count(page, "No NVM image was given"));
  EXPECT_EQ(3u * (4 + 1), count(page, "<image "));
}

TEST(HtmlPage, AMergeThatDidNotRunIsSaid) {
  const std::string page = shading::html_page(
      shading::collect("sample.vexb", sample_container(), std::vector<uint8_t>{1, 2, 3}));
  EXPECT_NE(0u, count(page, "The NVM library refuses the NVM image"));
  EXPECT_EQ(0u, count(page, "C1 after"));
}

TEST(HtmlPage, NothingFromTheFileBecomesMarkup) {
  const std::string name = "<script>alert(1)</script>&\"'\x1b[31m\xff";
  const subject about =
      shading::collect("<b>&.vexb", module_container({.name = name}), module_nvm());
  const std::string page = shading::html_page(about);
  EXPECT_EQ(0u, count(page, "<script"));
  EXPECT_EQ(0u, count(page, "<b>"));
  EXPECT_EQ(0u, count(page, "\x1b"));
  EXPECT_EQ(0u, count(page, "\xff"));
  EXPECT_NE(0u, count(page, "&lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;&#39;\\x1b[31m\\xff"));
}

TEST(HtmlPage, FindingsAreListedAndEscaped) {
  subject about = made_subject(1, 1, {256});
  about.found.push_back({.code = "a-code",
                         .how_bad = findings::severity::warning,
                         .message = "1 < 2 & so on",
                         .offset = 1234,
                         .record = findings::record_reference{3, 1200, 28, 100, 64},
                         .field = "width"});
  const std::string page = shading::html_page(about);
  EXPECT_NE(0u, count(page, "a-code"));
  EXPECT_NE(0u, count(page, "1 &lt; 2 &amp; so on"));
  EXPECT_NE(0u, count(page, "index 3, id 28, version 100, 64 bytes at 1200"));
  EXPECT_NE(0u, count(page, ">warning<"));
}

TEST(HtmlPage, EveryCaseHasAPageOfBoundedSize) {
  for (const shading_case& shown : every_shading_case()) {
    const std::string page =
        shading::html_page(shading::collect(shown.name, shown.container, shown.nvm));
    EXPECT_EQ(1u, count(page, "</html>")) << shown.name;
    EXPECT_LT(page.size(), 4u << 20) << shown.name;
  }
}

TEST(Markup, Base64PadsAsItMust) {
  const std::vector<uint8_t> bytes = {'l', 'i', 'g', 'h', 't'};
  const std::span<const uint8_t> all = bytes;
  EXPECT_EQ("", shading::base64_of(all.first(0)));
  EXPECT_EQ("bA==", shading::base64_of(all.first(1)));
  EXPECT_EQ("bGk=", shading::base64_of(all.first(2)));
  EXPECT_EQ("bGln", shading::base64_of(all.first(3)));
  EXPECT_EQ("bGlnaHQ=", shading::base64_of(all));
}

TEST(Markup, WhatXmlForbidsIsReplaced) {
  EXPECT_EQ("a\xef\xbf\xbd\xef\xbf\xbd&lt;", shading::marked_up(std::string("a\x1b\0<", 4)));
}

}  // namespace
