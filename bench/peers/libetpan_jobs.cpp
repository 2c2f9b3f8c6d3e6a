#include <libetpan/libetpan.h>

#include "bench/peers/library.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kWritingRoom = 32;  // one byte in so many is set aside for longer output

struct FreeMessage {
  void operator()(mailmime* message) const { mailmime_free(message); }
};
struct FreeText {
  void operator()(MMAPString* text) const { mmap_string_free(text); }
};

void Decode(mailmime* leaf, Counters& counters) {
  const mailmime_data* data = leaf->mm_data.mm_single;
  if (data == nullptr || data->dt_type != MAILMIME_DATA_TEXT) {
    return;
  }
  std::size_t at = 0;
  std::size_t length = 0;
  char* body = nullptr;
  if (mailmime_part_parse(data->dt_data.dt_text.dt_data, data->dt_data.dt_text.dt_length, &at,
                          data->dt_encoding, &body, &length) == MAILIMF_NO_ERROR) {
    counters.decodedBytes += length;
    mmap_string_unref(body);
  }
}

void Visit(mailmime* entity, const Job& job, Counters& counters) {
  if (entity->mm_type == MAILMIME_MULTIPLE) {
    const clist* parts = entity->mm_data.mm_multipart.mm_mp_list;
    for (const clistiter* at = clist_begin(parts); at != nullptr; at = clist_next(at)) {
      Visit(static_cast<mailmime*>(clist_content(at)), job, counters);
    }
  } else if (entity->mm_type == MAILMIME_MESSAGE) {
    if (entity->mm_data.mm_message.mm_msg_mime != nullptr) {
      Visit(entity->mm_data.mm_message.mm_msg_mime, job, counters);
    }
  } else {
    ++counters.leaves;
    if (job.decode) {
      Decode(entity, counters);
    }
  }
}

class LibEtPan : public MailLibrary {
 public:
  std::string Name() const override { return "libetpan"; }
  std::string Version() const override { return ZEVKA_LIBETPAN_VERSION; }

  void Do(std::string_view bytes, const Job& job, Counters& counters) override {
    std::size_t at = 0;
    mailmime* parsed = nullptr;
    if (mailmime_parse(bytes.data(), bytes.size(), &at, &parsed) != MAILIMF_NO_ERROR ||
        parsed == nullptr) {
      ++counters.refused;
      return;
    }
    const std::unique_ptr<mailmime, FreeMessage> message(parsed);
    Visit(parsed, job, counters);
    if (job.write) {
      const std::unique_ptr<MMAPString, FreeText> output(
          mmap_string_sized_new(bytes.size() + bytes.size() / kWritingRoom));
      int column = 0;
      mailmime_write_mem(output.get(), &column, parsed);
      counters.writtenBytes += output->len;
    }
  }
};

}  // namespace

std::unique_ptr<MailLibrary> MakeLibrary() {
  return std::make_unique<LibEtPan>();
}

}  // namespace zevka::bench
