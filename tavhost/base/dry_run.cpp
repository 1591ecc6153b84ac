#include "tavhost/base/dry_run.h"

#include <utility>

namespace dry_run {

namespace {
Teller currentTeller;
}  // namespace

void SetTeller(Teller teller) { currentTeller = std::move(teller); }

bool IsOn() noexcept { return static_cast<bool>(currentTeller); }

void Tell(const Step& step) { currentTeller(step); }

}  // namespace dry_run
