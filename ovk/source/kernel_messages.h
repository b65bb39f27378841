// SPDX-License-Identifier: GPL-2.0-only
// The messages of this machine's kernel, as they come.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ovk/base/open_file.h"

namespace ovk {

class kernel_messages {
  public:
    // Those from now on.
    kernel_messages();

    // Whether they may be read.
    bool good() const { return file_.good(); }

    // Those of the kernel itself since the last call, a line each.
    std::vector<std::string> take();

  private:
    open_file file_;
};

// Of a record of /dev/kmsg, "LEVEL,NUMBER,TIME,FLAGS[,...];TEXT\n" and then lines that begin with a
// blank: the text; empty for one that a program has put there.
std::string message_of_record(std::string_view record);

}  // namespace ovk
