// The icon theme's reading of index.theme against GKeyFile on any bytes: a difference stops the
// run.

#include "IconThemeComparison.h"
#include "KeyFileReference.h"

#include <cstdint>
#include <glib.h>
#include <glib/gstdio.h>

namespace {

// A folder of the run's own, where each input becomes a theme's index; gone when the run ends.
class ThemeFolder {
public:
    ThemeFolder() {
        g_autofree gchar *path = g_dir_make_tmp("quellory-fuzz-XXXXXX", nullptr);
        m_path = path;
    }
    ~ThemeFolder() {
        g_remove((m_path + "/theme/index.theme").c_str());
        g_rmdir((m_path + "/theme").c_str());
        g_rmdir(m_path.c_str());
    }
    const std::string &path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const ThemeFolder folder;
    KeyFileReference::abortOn(IconThemeComparison::differences(
        {reinterpret_cast<const char *>(data), size}, folder.path()));
    return 0;
}
