#include "support/FilterProbe.h"

#include <algorithm>
#include <cstdint>
#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace {

using Call = support::FilterProbe::Call;

bool g_probing = false;
std::vector<support::FilterProbe::Record> g_records;
std::vector<std::pair<Call, std::string>> g_failing;
std::vector<Call> g_failingOnce;

// True when the call has to fail.
bool Note(Call call, const std::string& subject, const std::string& detail = "") {
  if (!g_probing) {
    return false;
  }
  g_records.push_back({call, subject, detail});
  const auto once = std::find(g_failingOnce.begin(), g_failingOnce.end(), call);
  if (once != g_failingOnce.end()) {
    g_failingOnce.erase(once);
    return true;
  }
  for (const auto& [failing, name] : g_failing) {
    if (failing == call && (name.empty() || name == subject)) {
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" {
int __real_avfilter_graph_create_filter(AVFilterContext**, const AVFilter*, const char*,
                                        const char*, void*, AVFilterGraph*);
int __real_av_opt_set_bin(void*, const char*, const std::uint8_t*, int, int);
int __real_avfilter_graph_parse_ptr(AVFilterGraph*, const char*, AVFilterInOut**, AVFilterInOut**,
                                    void*);
int __real_avfilter_graph_config(AVFilterGraph*, void*);
AVFilterGraph* __real_avfilter_graph_alloc(void);
int __real_avfilter_link(AVFilterContext*, unsigned, AVFilterContext*, unsigned);
int __real_av_frame_copy(AVFrame*, const AVFrame*);
int __real_av_buffersrc_add_frame_flags(AVFilterContext*, AVFrame*, int);
int __real_av_buffersink_get_frame_flags(AVFilterContext*, AVFrame*, int);
int __real_av_buffersink_get_frame(AVFilterContext*, AVFrame*);

int __wrap_avfilter_graph_create_filter(AVFilterContext**, const AVFilter*, const char*,
                                        const char*, void*, AVFilterGraph*);
int __wrap_av_opt_set_bin(void*, const char*, const std::uint8_t*, int, int);
int __wrap_avfilter_graph_parse_ptr(AVFilterGraph*, const char*, AVFilterInOut**, AVFilterInOut**,
                                    void*);
int __wrap_avfilter_graph_config(AVFilterGraph*, void*);
AVFilterGraph* __wrap_avfilter_graph_alloc(void);
int __wrap_avfilter_link(AVFilterContext*, unsigned, AVFilterContext*, unsigned);
int __wrap_av_frame_copy(AVFrame*, const AVFrame*);
int __wrap_av_buffersrc_add_frame_flags(AVFilterContext*, AVFrame*, int);
int __wrap_av_buffersink_get_frame_flags(AVFilterContext*, AVFrame*, int);
int __wrap_av_buffersink_get_frame(AVFilterContext*, AVFrame*);

int __wrap_avfilter_graph_create_filter(AVFilterContext** context, const AVFilter* filter,
                                        const char* name, const char* arguments, void* opaque,
                                        AVFilterGraph* graph) {
  const std::string detail =
      std::string(filter->name) + " " + (arguments != nullptr ? arguments : "");
  if (Note(Call::kCreate, name, detail)) {
    *context = nullptr;
    return AVERROR(ENOMEM);
  }
  return __real_avfilter_graph_create_filter(context, filter, name, arguments, opaque, graph);
}

int __wrap_av_opt_set_bin(void* object, const char* name, const std::uint8_t* value, int size,
                          int flags) {
  if (Note(Call::kSetBinary, name, std::to_string(size) + " bytes")) {
    return AVERROR(EINVAL);
  }
  return __real_av_opt_set_bin(object, name, value, size, flags);
}

int __wrap_avfilter_graph_parse_ptr(AVFilterGraph* graph, const char* description,
                                    AVFilterInOut** inputs, AVFilterInOut** outputs, void* log) {
  // A real failure, since it frees every filter of the graph.
  const bool fail = Note(Call::kParse, description);
  return __real_avfilter_graph_parse_ptr(graph, fail ? "[in0]nosuchfilter[out]" : description,
                                         inputs, outputs, log);
}

int __wrap_avfilter_graph_config(AVFilterGraph* graph, void* log) {
  if (Note(Call::kConfigure, "")) {
    return AVERROR(EINVAL);
  }
  return __real_avfilter_graph_config(graph, log);
}

AVFilterGraph* __wrap_avfilter_graph_alloc(void) {
  return Note(Call::kAllocate, "") ? nullptr : __real_avfilter_graph_alloc();
}

int __wrap_avfilter_link(AVFilterContext* from, unsigned output, AVFilterContext* to,
                         unsigned input) {
  const std::string kind = from->filter->name;
  if (Note(Call::kLink, kind == "drawtext" ? kind : from->name)) {
    return AVERROR(ENOMEM);
  }
  return __real_avfilter_link(from, output, to, input);
}

int __wrap_av_frame_copy(AVFrame* target, const AVFrame* source) {
  return Note(Call::kCopy, "") ? AVERROR(ENOMEM) : __real_av_frame_copy(target, source);
}

int __wrap_av_buffersrc_add_frame_flags(AVFilterContext* source, AVFrame* frame, int flags) {
  if (Note(Call::kAdd, source != nullptr ? source->name : "")) {
    return AVERROR(EINVAL);
  }
  return __real_av_buffersrc_add_frame_flags(source, frame, flags);
}

int __wrap_av_buffersink_get_frame_flags(AVFilterContext* sink, AVFrame* frame, int flags) {
  if (Note(Call::kGet, "")) {
    return AVERROR(ENOMEM);
  }
  return __real_av_buffersink_get_frame_flags(sink, frame, flags);
}

int __wrap_av_buffersink_get_frame(AVFilterContext* sink, AVFrame* frame) {
  if (Note(Call::kGet, "")) {
    return AVERROR(ENOMEM);
  }
  return __real_av_buffersink_get_frame(sink, frame);
}
}

namespace support {

FilterProbe::FilterProbe() {
  g_probing = true;
  g_records.clear();
  g_failing.clear();
  g_failingOnce.clear();
}

FilterProbe::~FilterProbe() {
  g_probing = false;
}

void FilterProbe::Fail(Call call, const std::string& subject) {
  g_failing.emplace_back(call, subject);
}

void FilterProbe::FailOnce(Call call) {
  g_failingOnce.push_back(call);
}

std::vector<FilterProbe::Record> FilterProbe::Records(Call call) const {
  std::vector<Record> records;
  for (const Record& record : g_records) {
    if (record.call == call) {
      records.push_back(record);
    }
  }
  return records;
}

}  // namespace support
