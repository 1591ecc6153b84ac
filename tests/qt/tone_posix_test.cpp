#include "tavhost/qt/tone.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <chrono>
#include <cstring>
#include <vector>

namespace {

constexpr int kRate = 48000;

// A sound device that writes what it is given to a file.
class Tones : public testing::Test {
 protected:
  void SetUp() override {
    QFile settings(folder_.filePath("asound.conf"));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write("pcm.!default { type file slave.pcm null format raw file \"" +
                   folder_.filePath("sound.raw").toUtf8() + "\" }\n" + "pcm.null { type null }\n");
    settings.close();
    qputenv("ALSA_CONFIG_PATH", settings.fileName().toUtf8());
  }
  void TearDown() override { qunsetenv("ALSA_CONFIG_PATH"); }

  std::vector<std::int16_t> Heard() const {
    QFile file(folder_.filePath("sound.raw"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    std::vector<std::int16_t> samples(static_cast<std::size_t>(bytes.size()) / 2);
    std::memcpy(samples.data(), bytes.constData(), samples.size() * 2);
    return samples;
  }

  QTemporaryDir folder_;
};

TEST_F(Tones, HaveTheirFrequencyAndLength) {
  {
    ui::Tone tone;
    ASSERT_TRUE(tone.Play(1000, 400));
  }
  const std::vector<std::int16_t> heard = Heard();
  EXPECT_EQ(heard.size(), kRate * 4u / 10);
  int rises = 0;
  int highest = 0;
  for (std::size_t i = 1; i < heard.size(); ++i) {
    rises += heard[i - 1] < 0 && heard[i] >= 0;
    highest = std::max<int>(highest, heard[i]);
  }
  EXPECT_NEAR(rises, 400, 1);
  EXPECT_NEAR(highest, 32767 / 4, 100);
}

TEST_F(Tones, WithoutAFrequencyToHearAreSilence) {
  {
    ui::Tone tone;
    ASSERT_TRUE(tone.Play(24000, 100));
  }
  const std::vector<std::int16_t> heard = Heard();
  ASSERT_EQ(heard.size(), kRate / 10u);
  EXPECT_EQ(std::count(heard.begin(), heard.end(), 0), kRate / 10);
}

TEST_F(Tones, EndWhenTheNextBeginsOrTheyAreStopped) {
  const auto begin = std::chrono::steady_clock::now();
  ui::Tone tone;
  ASSERT_TRUE(tone.Play(440, 0xFFFFFFFF));
  ASSERT_TRUE(tone.Play(440, 0xFFFFFFFF));
  tone.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(Tones, SayWhenThereIsNoDevice) {
  qputenv("ALSA_CONFIG_PATH", "/nonexistent");
  ui::Tone tone;
  EXPECT_FALSE(tone.Play(440, 100));
}

}  // namespace
