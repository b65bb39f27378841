// SPDX-License-Identifier: GPL-2.0-only
// A MIU2GMC block: the port mask of its larb, and a traffic generator.
//
// Mask: bit p silences port p of the larb that has this block's number.
//
// Generator: a pass starts when the first value of a command pair and then the second are stored in
// control, with the settings that the registers hold at that moment. It moves its length once (read
// or write) or once in each direction (read and write) at 1600 MB/s in all, so 16 bytes take 10 or
// 20 ns, and longer where limits slow the larb port down that its traffic enters at; a masked port
// never lets it finish. At its end the done bit comes up, and with it the error bit when the
// pattern has one of the stuck bits: a register that only the model has, in which a preset or an
// instrument puts the data lines that are broken. Storing 0 in control ends everything. With the
// loop bit, which sits in one of two registers, passes follow each other without a done bit; when
// it is cleared, the pass that runs is the last.
#pragma once

#include <cstdint>
#include <optional>

#include "soc/blocks/block.h"
#include "soc/traffic.h"

namespace soc {

class miu2gmc : public block {
  public:
    miu2gmc(const devicetree::node &node, register_file &registers, traffic &passing,
            std::uint32_t number);

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override;
    std::optional<nanoseconds> next_event() const override;
    bool hang() override;

  protected:
    void elapse(nanoseconds from, nanoseconds to) override;

  private:
    struct pass {
        std::uint64_t length;  // thousandths of a byte, both directions together
        bool fails;
    };

    void command(std::uint32_t value);
    void start(std::uint32_t first_of_pair);
    void finish();
    void stop();
    std::uint32_t loop_register() const;

    traffic &passing_;
    std::uint32_t number_;
    bool hung_ = false;
    bool loops_ = false;
    bool done_ = false;
    bool failed_ = false;
    std::uint32_t before_ = 0;  // the last value stored in control
    std::optional<pass> running_;
    std::uint64_t moved_ = 0;  // of the pass, thousandths of a byte
};

}  // namespace soc
