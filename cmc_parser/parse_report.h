/// The parse of a container, and what it tells whoever listens.
#pragma once

#include "cmc_parser/calibration_merge.h"
#include "cmc_parser/container.h"
#include "cmc_parser/decode_result.h"
#include "cmc_parser/derived_record.h"
#include "qo_cmc/parser.h"

namespace qo {

/// What became of the module's NVM image.
struct nvm_verdict {
  reason why = reason::none;  ///< `none` for an image that the NVM library accepted
  uint32_t size = 0;
  uint32_t status = 0;  ///< the NVM library's, if it was asked
};

/// Listens to a parse. Calls come in the order of the functions here, record() once for each record
/// that the walk reaches, in the container's order.
class parse_report {
 public:
  /// Always. Nothing else is told of a container that is refused.
  virtual void container(const container_verdict& verdict) = 0;
  /// When an image was given.
  virtual void nvm(const nvm_verdict& verdict) = 0;
  /// Of a record that is stepped over too. The slots are as the record left them.
  virtual void record(const record_view& record, const decode_result& result,
                      const parsed_cmc& cmc) = 0;
  virtual void walk(const walk_end& end) = 0;
  /// When the NVM library accepted an image.
  virtual void merge(const merge_result& result) = 0;
  virtual void derivation(const derivation_result& result) = 0;

 protected:
  ~parse_report() = default;
};

/// qo_cmc_parser_init_v1(), which passes no report.
[[nodiscard]] parsed_cmc* parse_container(const qo_blob* container, const qo_blob* nvm,
                                          parse_report* report);

}  // namespace qo
