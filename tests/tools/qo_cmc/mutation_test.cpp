// Every verb, on containers, NVM images and documents that were changed at random. The verbs run
// inside the test, so that the sanitizers see them.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "tools/qo_cmc/program.h"
#include "tools/sample/sample_module.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

// The verbs' fuzz target changes more of them under the sanitizers.
#ifdef __has_feature
constexpr int rounds = __has_feature(address_sanitizer) ? 1 : 3;
#else
constexpr int rounds = 3;
#endif

using image = std::vector<uint8_t>;

class text_sink final : public qo_cmc::sink {
 public:
  void write(std::string_view more) override { text += more; }
  void flush() override {}
  std::string text;
};

struct outcome {
  int code;
  std::string output, errors;
};

outcome run(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "qo-cmc");
  std::vector<const char*> pointers;
  for (const std::string& each : arguments) pointers.push_back(each.c_str());
  text_sink output, errors;
  const int code = qo_cmc::run(static_cast<int>(pointers.size()), pointers.data(),
                               {.input = -1, .output = output, .errors = errors});
  return {code, output.text, errors.text};
}

/// A folder of its own, with the files of one round.
class Mutation : public testing::Test {
 protected:
  void SetUp() override {
    folder_ =
        std::filesystem::path(testing::TempDir()) / ("qo_cmc_mutation_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string file(const std::string& name, std::string_view content) {
    const std::filesystem::path path = folder_ / name;
    std::ofstream(path, std::ios::binary)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
    return path;
  }
  std::string file(const std::string& name, const image& content) {
    return file(name, {reinterpret_cast<const char*>(content.data()), content.size()});
  }
  [[nodiscard]] std::string path_of(const std::string& name) const { return folder_ / name; }

  /// Some bytes changed, sometimes cut; then often sealed again, so that the change gets past the
  /// checksum.
  image mutated(image content) {
    for (uint32_t changes = 1 + below(4); changes != 0 && !content.empty(); --changes)
      content[below(content.size())] = static_cast<uint8_t>(below(3) == 0 ? 255 : random_());
    if (below(6) == 0) content.resize(below(content.size() + 1));
    if (below(4) != 0 && content.size() >= writer::container::header_size) writer::seal(content);
    return content;
  }
  image mutated_nvm() {
    writer::bytes content(sample_nvm());
    std::vector<uint8_t> changed = content.vector();
    for (uint32_t changes = below(3); changes != 0; --changes)
      changed[below(std::min<size_t>(changed.size(), below(2) == 0 ? 24 : 8000))] =
          static_cast<uint8_t>(random_());
    if (below(6) == 0) changed.resize(below(changed.size() + 1));
    content = writer::bytes(changed);
    if (below(4) != 0 && content.size() >= 12) writer::seal_nvm_image(content);
    return content.vector();
  }

  /// Each verb that reads containers; the answers fit each other.
  void run_every_reader(const std::string& container, const std::string& nvm) {
    const outcome valid = run({"check", "--json", "--allow-warnings", container});
    ASSERT_TRUE(valid.code == 0 || valid.code == 1) << valid.errors;
    const std::string said = valid.code == 0 ? "\"valid\":true" : "\"valid\":false";
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"records", "--json", container},
                                               {"hex", "--json", container},
                                               {"dump", "--json", container},
                                               {"dump", "--json", container, "--nvm", nvm}}) {
      const outcome done = run(arguments);
      EXPECT_EQ(valid.code, done.code) << arguments[0] << ": " << done.errors;
      EXPECT_NE(std::string::npos, done.output.find(said)) << arguments[0];
    }
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"records", container},
             {"hex", "--record", "28", container},
             {"dump", container, "--nvm", nvm},
             {"dump", "--full", container},
             {"shading", container, "--nvm", nvm, "-o", path_of("out.html")},
             {"shading", container, "--nvm", nvm, "-o", path_of("out.csv")}}) {
      const outcome done = run(arguments);
      EXPECT_EQ(valid.code, done.code) << arguments[0] << ": " << done.errors;
      expect_harmless(done);
    }
    const outcome checked = run({"check", container, "--nvm", nvm, "-j2"});
    EXPECT_TRUE(checked.code == 0 || checked.code == 1) << checked.errors;
    expect_harmless(checked);
    const outcome same = run({"diff", container, container});
    EXPECT_EQ(valid.code, same.code) << same.output;
    EXPECT_EQ("", same.output);
    const outcome compared = run({"diff", container, container, "--nvm-b", nvm});
    EXPECT_TRUE(compared.code == 0 || compared.code == 1) << compared.errors;
    expect_harmless(compared);
  }

  static void expect_harmless(const outcome& done) {
    for (const std::string& text : {done.output, done.errors})
      for (const char character : text) {
        const auto byte = static_cast<uint8_t>(character);
        ASSERT_TRUE(byte == '\n' || (byte >= 0x20 && byte != 0x7f)) << unsigned{byte};
      }
  }

  /// From 0 to below `end`.
  uint32_t below(size_t end) { return static_cast<uint32_t>(random_() % end); }

  std::mt19937 random_{20260101};

 private:
  std::filesystem::path folder_;
};

TEST_F(Mutation, OfEveryKindOfRecordLetsEveryVerbAnswer) {
  const std::string nvm = file("sample.nvm", sample_nvm());
  for (const writer::named_record& each : writer::every_good_record()) {
    SCOPED_TRACE(each.name);
    const image good = writer::container().add(each.content).add(writer::record_722()).image();
    run_every_reader(file("good.vexb", good), nvm);
    for (int round = 0; round < rounds; ++round)
      run_every_reader(file("changed.vexb", mutated(good)), nvm);
    if (HasFailure()) return;
  }
}

TEST_F(Mutation, OfTheSampleLetsEveryVerbAnswer) {
  const image good = sample_container();
  const std::string nvm = file("sample.nvm", sample_nvm());
  for (int round = 0; round < 6; ++round) {
    run_every_reader(file("changed.vexb", mutated(good)), nvm);
    if (HasFailure()) return;
  }
}

TEST_F(Mutation, OfTheModulesImageLetsEveryVerbAnswer) {
  // Small tables; the kinds that the image is merged into.
  const std::string container =
      file("small.vexb", writer::container()
                             .add(writer::record_2())
                             .add(writer::record_17())
                             .add(writer::record_30())
                             .add(writer::record_28({.lights = 2, .width = 5, .height = 4}))
                             .add(writer::record_33({.lights = 2, .width = 5, .height = 4}))
                             .image());
  for (int round = 0; round < 14 * rounds; ++round) {
    run_every_reader(container, file("changed.nvm", mutated_nvm()));
    if (HasFailure()) return;
  }
}

TEST_F(Mutation, OfADumpIsPackedOrRefused) {
  for (const writer::named_record& each : writer::every_good_record()) {
    SCOPED_TRACE(each.name);
    const outcome dumped =
        run({"dump", "--json", file("good.vexb", writer::container().add(each.content).image())});
    ASSERT_EQ(0, dumped.code) << dumped.errors;
    const std::string packed = path_of("packed.vexb");
    const outcome whole = run({"pack", file("good.json", dumped.output), "-o", packed});
    ASSERT_EQ(0, whole.code) << whole.errors;
    ASSERT_EQ(0, run({"check", "--allow-warnings", packed}).code);
    for (int round = 0; round < 3 * rounds; ++round) {
      std::string changed = dumped.output;
      // What keeps it a document more often than not.
      constexpr char replacements[] = "0123456789-.e\"[]{},:nulltrue";
      const size_t from = changed.find("\"slots\"");
      for (uint32_t changes = 1 + below(2); changes != 0; --changes)
        changed[from + below(changed.size() - from)] = replacements[below(sizeof replacements - 1)];
      const outcome done = run({"pack", file("changed.json", changed), "-o", packed});
      ASSERT_TRUE(done.code == 0 || done.code == 2) << done.errors;
      expect_harmless(done);
      if (done.code == 0) {
        EXPECT_EQ(0, run({"check", "--allow-warnings", packed}).code);
      }
    }
  }
}

TEST_F(Mutation, OfArgumentsIsRefusedInOneLine) {
  const std::string container = file("sample.vexb", sample_container());
  const std::vector<std::string> words = {
      "check",    "records", "dump", "hex",     "shading", "diff", "pack",   "-", "--json", "--nvm",
      "--record", "-j",      "-o",   "--color", "--",      "10",   "\x1b[m", "",  container};
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> arguments;
    for (uint32_t count = below(5); count != 0; --count)
      arguments.push_back(words[below(words.size())]);
    const outcome done = run(arguments);
    ASSERT_TRUE(done.code >= 0 && done.code <= 2);
    if (done.code == 2) {
      EXPECT_NE("", done.errors);
    }
    expect_harmless({done.code, "", done.errors});
  }
}

}  // namespace
