// Helpers shared by the URL tests.
#pragma once

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <memory>
#include <string>

namespace rktest {

struct UrlDeleter {
    void operator()(rpf_url *url) const { rpf_url_dealloc(url); }
};
using Url = std::unique_ptr<rpf_url, UrlDeleter>;

// A record's text as a std::string; "<null>" for null (not freed).
inline std::string show(const char *text)
{
    return text == nullptr ? std::string("<null>") : std::string(text);
}

// Collects the diagnostic stream while it lives; discards it afterwards.
class TraceCapture {
public:
    TraceCapture() { rpf_diagnostics_set_callback(&TraceCapture::receive, this); }
    ~TraceCapture() { rpf_diagnostics_set_stream(nullptr); }
    TraceCapture(const TraceCapture &) = delete;
    TraceCapture &operator=(const TraceCapture &) = delete;

    const std::string &text() const { return text_; }
    void clear() { text_.clear(); }

private:
    static void receive(const char *text, void *context) { static_cast<TraceCapture *>(context)->text_ += text; }
    std::string text_;
};

} // namespace rktest
