#include <gmime/gmime.h>

#include "bench/peers/library.h"

namespace zevka::bench {
namespace {

// Gives back one reference of an object of GMime.
struct Unreference {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Unreference>;

class GMime : public MailLibrary {
 public:
  GMime() {
    g_mime_init();
    // The sets have CR LF; the default would turn every line end into LF.
    options_ = g_mime_format_options_new();
    g_mime_format_options_set_newline_format(options_, GMIME_NEWLINE_FORMAT_DOS);
  }
  ~GMime() override {
    g_mime_format_options_free(options_);
    g_mime_shutdown();
  }
  GMime(const GMime&) = delete;
  GMime& operator=(const GMime&) = delete;

  std::string Name() const override { return "gmime"; }
  std::string Version() const override {
    return std::to_string(gmime_major_version) + "." + std::to_string(gmime_minor_version) + "." +
           std::to_string(gmime_micro_version);
  }

  void Do(std::string_view bytes, const Job& job, Counters& counters) override {
    // The stream reads the caller's bytes where they are.
    GByteArray* array = g_byte_array_new_take(
        reinterpret_cast<guint8*>(const_cast<char*>(bytes.data())), bytes.size());
    DoWithStream(array, job, counters);
    g_byte_array_free(array, FALSE);
  }

 private:
  void DoWithStream(GByteArray* array, const Job& job, Counters& counters) {
    const Owned<GMimeStream> input(g_mime_stream_mem_new_with_byte_array(array));
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(input.get()), FALSE);
    const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(input.get()));
    const Owned<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), nullptr));
    if (!message) {
      ++counters.refused;
      return;
    }
    if (GMimeObject* root = g_mime_message_get_mime_part(message.get()); root != nullptr) {
      Visit(root, job, counters);
    }
    if (job.write) {
      const Owned<GMimeStream> output(g_mime_stream_mem_new());
      g_mime_object_write_to_stream(GMIME_OBJECT(message.get()), options_, output.get());
      counters.writtenBytes += static_cast<std::uint64_t>(g_mime_stream_length(output.get()));
    }
  }

  static void Visit(GMimeObject* object, const Job& job, Counters& counters) {
    if (GMIME_IS_MULTIPART(object)) {
      VisitParts(GMIME_MULTIPART(object), job, counters);
    } else if (GMIME_IS_MESSAGE_PART(object)) {
      VisitInner(g_mime_message_part_get_message(GMIME_MESSAGE_PART(object)), job, counters);
    } else if (GMIME_IS_PART(object)) {
      ++counters.leaves;
      if (job.decode) {
        Decode(GMIME_PART(object), counters);
      }
    }
  }

  static void VisitParts(GMimeMultipart* multipart, const Job& job, Counters& counters) {
    const int count = g_mime_multipart_get_count(multipart);
    for (int i = 0; i < count; ++i) {
      Visit(g_mime_multipart_get_part(multipart, i), job, counters);
    }
  }

  // An embedded message; null when there is none.
  static void VisitInner(GMimeMessage* message, const Job& job, Counters& counters) {
    GMimeObject* root = message == nullptr ? nullptr : g_mime_message_get_mime_part(message);
    if (root != nullptr) {
      Visit(root, job, counters);
    }
  }

  static void Decode(GMimePart* leaf, Counters& counters) {
    GMimeDataWrapper* content = g_mime_part_get_content(leaf);
    if (content == nullptr) {
      return;
    }
    const Owned<GMimeStream> body(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(content, body.get());
    counters.decodedBytes += static_cast<std::uint64_t>(g_mime_stream_length(body.get()));
  }

  GMimeFormatOptions* options_ = nullptr;
};

}  // namespace

std::unique_ptr<MailLibrary> MakeLibrary() {
  return std::make_unique<GMime>();
}

}  // namespace zevka::bench
