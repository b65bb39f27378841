// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/module_image.h"

#include <dlfcn.h>

#include <cerrno>
#include <filesystem>

namespace host {

// With a directory in it, so that dlopen does not search for it.
static std::string absolute(const std::string &path) {
    return path.empty() ? path : std::filesystem::absolute(path).string();
}

module_image::module_image(const std::string &path, oops_log &oopses)
    : path_(absolute(path)), oopses_(oopses) {}

bool module_image::resident() const {
    void *handle = dlopen(path_.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle) {
        dlclose(handle);
    }
    return handle;
}

int module_image::reject(const std::string &reason) {
    oopses_.add("module image: " + reason);
    close();
    return -ENOEXEC;
}

int module_image::open() {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path_, ignored)) {
        return -ENOENT;
    }
    if (resident()) {
        return reject("still resident, its globals would not start afresh");
    }
    handle_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
        return reject(dlerror());
    }
    init_ = reinterpret_cast<int (*)()>(dlsym(handle_, "init_module"));
    cleanup_ = reinterpret_cast<void (*)()>(dlsym(handle_, "cleanup_module"));
    return init_ && cleanup_ ? 0 : reject("lacks init_module or cleanup_module");
}

void module_image::close() {
    if (!handle_) {
        return;
    }
    dlclose(handle_);
    handle_ = nullptr;
    if (resident()) {
        oopses_.add("module image: stays resident after it was closed");
    }
}

}  // namespace host
