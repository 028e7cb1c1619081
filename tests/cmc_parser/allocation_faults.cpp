#include "tests/cmc_parser/allocation_faults.h"

#include "cmc_parser/records/kinds.h"
#include "tests/kit/foretold_cycle.h"
#include "tests/kit/reporting_library.h"

namespace {

/// Notes the number of the allocation that the copy of each record is, and whether the next one
/// comes after it.
class allocation_numbers final : public qo::parse_report {
 public:
  explicit allocation_numbers(const kit::allocation_ledger& ledger) : ledger_(ledger) {}

  void container(const qo::container_verdict&) override { next_ = ledger_.allocations(); }
  void nvm(const qo::nvm_verdict&) override {}
  void record(const qo::record_view&, const qo::decode_result&, const parsed_cmc&) override {
    copies.push_back(next_);
    next_ = ledger_.allocations();
  }
  void walk(const qo::walk_end&) override {}
  void merge(const qo::merge_result&) override {}
  void derivation(const qo::derivation_result&) override {}

  std::vector<size_t> copies;

 private:
  const kit::allocation_ledger& ledger_;
  size_t next_ = 0;
};

/// Structures that stay in their slot without an array that there was no memory for.
bool may_lack_arrays(uint16_t kind) {
  return kind == 1 || kind == 13 || kind == 25 || kit::counts_missing_arrays(kind);
}

}  // namespace

size_t expect_exact_leaks(const std::vector<uint8_t>& image, const qo_blob* nvm) {
  const std::vector<writer::bytes> records = kit::records_of(image);
  std::vector<size_t> copies;
  size_t allocations = 0;
  {
    kit::allocation_ledger ledger;
    allocation_numbers numbers(ledger);
    const qo_blob container = writer::blob_of(image);
    qo_cmc_parser_deinit(kit::parse_container(&container, nvm, &numbers));
    allocations = ledger.allocations();
    copies = numbers.copies;
    ledger.release_all();
  }
  EXPECT_EQ(records.size(), copies.size()) << "another walk than the container's";
  if (testing::Test::HasFailure()) return allocations;

  // With as many as the parse takes, none is refused.
  for (size_t n = 0; n <= allocations; ++n) {
    for (const bool all_later : {false, true}) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " of " << allocations
                                      << (all_later ? " and all later ones" : "") << " refused");
      kit::allocation_ledger ledger;
      all_later ? ledger.fail_from(n) : ledger.fail_after(n);
      const kit::cycle cycle = kit::run_cycle(ledger, image, nvm);
      EXPECT_EQ(n < allocations, ledger.failures() != 0);
      EXPECT_EQ(n != 0, cycle.accepted);
      EXPECT_EQ(kit::contract_leaks(records, copies, kit::is_taken_by_stack, {n, all_later}),
                kit::left_by(cycle));
      for (const uint16_t kind : cycle.tour.incomplete) EXPECT_TRUE(may_lack_arrays(kind)) << kind;
      if (testing::Test::HasFailure()) return allocations;
    }
  }
  return allocations;
}
