/// Turns what a parse reports into findings, rows and origins.
#pragma once

#include <map>
#include <string>

#include "cmc_parser/others_record.h"
#include "cmc_parser/parse_report.h"
#include "tools/findings/findings_list.h"
#include "tools/findings/log_notes.h"

namespace findings {

class listener final : public qo::parse_report {
 public:
  void container(const qo::container_verdict& verdict) override;
  void nvm(const qo::nvm_verdict& verdict) override;
  void record(const qo::record_view& record, const qo::decode_result& result,
              const parsed_cmc& cmc) override;
  void walk(const qo::walk_end& end) override;
  void merge(const qo::merge_result& result) override;
  void derivation(const qo::derivation_result& result) override;

  /// After the parse: what became of the others record.
  void others(const qo::others_result& others);
  /// A record of a container that is refused.
  void unparsed(const qo::record_view& record);
  void add(const code_description& code, std::string_view detail) { found_.add(code, detail); }

  /// Moves what was heard into the result.
  void finish(inspection& result);

 private:
  record_row& add_row(const qo::record_view& record);
  void hear_result(const record_reference& record, const qo::decode_result& result);
  void hear_replacement(const record_reference& record, const qo::decode_result& result);
  void fill_slot(uint16_t slot, const record_reference& record);
  void follow_slots(const record_reference& record, const qo::decode_result& result,
                    const parsed_cmc& cmc);
  void hear_notes(const place& where);

  log_notes notes_;
  findings_list found_;
  std::vector<record_row> rows_;
  /// Which record fills a slot, by the kind that the slot is named after.
  std::map<uint16_t, record_reference> holders_;
  origins from_;
};

}  // namespace findings
