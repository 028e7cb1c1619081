#include "tests/kit/fake_platform.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "qo_log.h"
#include "qo_vexb_parser.h"

namespace kit {

struct fake_platform::state {
  std::mutex mutex;
  std::vector<log_message> messages;
  std::function<uint32_t(void*)> decode;
  size_t decoded_records = 0;
  std::function<uint32_t(const qo_blob*, calibration**)> parse;
  size_t parsed_images = 0;
  calibration* own_handle = nullptr;
  std::vector<const calibration*> released;
};

namespace {

fake_platform::state* open_platform = nullptr;

/// The definition that this executable's one has taken the place of.
template <typename Function>
Function* next_definition(const char* name) {
  void* const found = dlsym(RTLD_NEXT, name);
  if (found == nullptr) {
    std::fprintf(stderr, "fake_platform: no library defines %s\n", name);
    std::abort();
  }
  return reinterpret_cast<Function*>(found);
}

}  // namespace

fake_platform::fake_platform() : state_(std::make_unique<state>()) {
  if (open_platform != nullptr) {
    std::fprintf(stderr, "fake_platform: already open\n");
    std::abort();
  }
  open_platform = state_.get();
}

fake_platform::~fake_platform() { open_platform = nullptr; }

std::vector<log_message> fake_platform::messages() const {
  const std::lock_guard lock(state_->mutex);
  return state_->messages;
}

void fake_platform::decode_records_with(std::function<uint32_t(void*)> decode) {
  const std::lock_guard lock(state_->mutex);
  state_->decode = std::move(decode);
}

void fake_platform::answer_records_with(uint32_t code) {
  decode_records_with([code](void*) { return code; });
}

size_t fake_platform::decoded_records() const {
  const std::lock_guard lock(state_->mutex);
  return state_->decoded_records;
}

void fake_platform::answer_images_with(calibration* handle, uint32_t status) {
  const std::lock_guard lock(state_->mutex);
  state_->own_handle = handle;
  state_->parse = [handle, status](const qo_blob*, calibration** result) {
    if (handle != nullptr) *result = handle;
    return status;
  };
}

void fake_platform::parse_images_with(
    std::function<uint32_t(const qo_blob*, calibration**)> parse) {
  const std::lock_guard lock(state_->mutex);
  state_->own_handle = nullptr;
  state_->parse = std::move(parse);
}

size_t fake_platform::parsed_images() const {
  const std::lock_guard lock(state_->mutex);
  return state_->parsed_images;
}

std::vector<const calibration*> fake_platform::released_handles() const {
  const std::lock_guard lock(state_->mutex);
  return state_->released;
}

}  // namespace kit

using kit::next_definition;
using kit::open_platform;

void qo_log(int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list counted;
  va_copy(counted, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, counted);
  va_end(counted);
  std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  if (open_platform == nullptr) {
    next_definition<decltype(qo_log)>("qo_log")(level, "%s", text.c_str());
    return;
  }
  const std::lock_guard lock(open_platform->mutex);
  open_platform->messages.push_back({level, std::move(text)});
}

uint32_t qo_vexb_parse_record(void* record) {
  std::function<uint32_t(void*)> decode;
  if (open_platform != nullptr) {
    const std::lock_guard lock(open_platform->mutex);
    ++open_platform->decoded_records;
    decode = open_platform->decode;
  }
  if (decode != nullptr) return decode(record);
  return next_definition<decltype(qo_vexb_parse_record)>("qo_vexb_parse_record")(record);
}

uint32_t qo_nvm_parse(const qo_blob* image, calibration** result) {
  std::function<uint32_t(const qo_blob*, calibration**)> parse;
  if (open_platform != nullptr) {
    const std::lock_guard lock(open_platform->mutex);
    ++open_platform->parsed_images;
    parse = open_platform->parse;
  }
  if (parse != nullptr) return parse(image, result);
  return next_definition<decltype(qo_nvm_parse)>("qo_nvm_parse")(image, result);
}

void qo_nvm_deinit(calibration* handle) {
  if (open_platform != nullptr) {
    const std::lock_guard lock(open_platform->mutex);
    open_platform->released.push_back(handle);
    if (handle == open_platform->own_handle) return;
  }
  next_definition<decltype(qo_nvm_deinit)>("qo_nvm_deinit")(handle);
}
