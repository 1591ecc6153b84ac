#pragma once

#include <cstdint>

#include "tavhost/base/work_meter.h"

// Counts the work that it is told of, and the times that it could have stopped it.
class CountingMeter final : public base::WorkMeter {
 public:
  CountingMeter() { budget_ = kBudget; }

  std::int64_t Work() const { return work_ + kBudget - budget_; }
  int Polls() const { return polls_; }

 private:
  static constexpr std::int64_t kBudget = 1000;

  void Poll() override {
    work_ += kBudget - budget_;
    budget_ = kBudget;
    ++polls_;
  }

  std::int64_t work_ = 0;
  int polls_ = 0;
};
