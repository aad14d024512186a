// How values are written ahead of the recorder: nothing before or beyond their bytes, neither read nor written.
#include <gtest/gtest.h>
#include <qx/recorder.h>

#include <memory>
#include <string>

namespace {

using qx::recorder::detail::Encoder;
using qx::recorder::detail::kMaxPayload;

class EncoderTest : public testing::Test {
protected:
    std::string Encoded() const { return {reinterpret_cast<const char*>(m_memory.get()), m_encoder.Result().size}; }

    const std::unique_ptr<unsigned char[]> m_memory{new unsigned char[kMaxPayload]};
    Encoder m_encoder{m_memory.get()};
};

std::string Pattern(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(1 + i * 7 + i / 256);
    return text;
}

// Short ones, longer ones and whole words are copied in different ways.
TEST_F(EncoderTest, RunsOfEverySizeAreCopiedWhole) {
    std::string all;
    for (std::size_t size = 0; size <= 300; ++size) {
        const std::string text = Pattern(size);
        const std::unique_ptr<char[]> exact(new char[size]);
        text.copy(exact.get(), size);
        m_encoder.Put(exact.get(), size);
        all += text;
        ASSERT_EQ(Encoded(), all) << size;
    }
    EXPECT_FALSE(m_encoder.Result().isOverflow);
}

TEST_F(EncoderTest, TheLastByteCanBeFilledAndNoneBeyond) {
    const std::string most = Pattern(kMaxPayload - 20);
    m_encoder.Put(most.data(), most.size());
    m_encoder.Put(Pattern(20).data(), 20);
    EXPECT_EQ(m_encoder.Result().size, kMaxPayload);
    EXPECT_FALSE(m_encoder.Result().isOverflow);
    m_encoder.PutByte(1);
    EXPECT_EQ(m_encoder.Result().size, kMaxPayload);
    EXPECT_TRUE(m_encoder.Result().isOverflow);
}

TEST_F(EncoderTest, ARunThatDoesNotFitIsLeftOutWhole) {
    const std::string most = Pattern(kMaxPayload - 20);
    m_encoder.Put(most.data(), most.size());
    m_encoder.Put(Pattern(21).data(), 21);
    EXPECT_TRUE(m_encoder.Result().isOverflow);
    EXPECT_EQ(Encoded(), most);
}

}  // namespace
