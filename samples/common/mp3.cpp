#include "mp3.h"

#include <lame/lame.h>

#include <cstdio>
#include <memory>

namespace {

struct LameClose {
    void operator()(lame_t lame) const { lame_close(lame); }
};
struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Lame = std::unique_ptr<lame_global_struct, LameClose>;
using File = std::unique_ptr<std::FILE, FileClose>;

Lame openLame() {
    Lame lame(lame_init());
    if (!lame) {
        return lame;
    }
    lame_set_in_samplerate(lame.get(), synthRate);
    lame_set_num_channels(lame.get(), 2);
    lame_set_brate(lame.get(), 160);
    lame_set_mode(lame.get(), JOINT_STEREO);
    lame_set_quality(lame.get(), 3);
    lame_set_write_id3tag_automatic(lame.get(), 0);
    lame_set_bWriteVbrTag(lame.get(), 1); // carries the encoder's delay, so that players can cut it off
    return lame_init_params(lame.get()) < 0 ? Lame() : std::move(lame);
}

bool writeBytes(std::FILE* file, const std::vector<unsigned char>& bytes, int count) {
    const auto size = static_cast<size_t>(count);
    return count >= 0 && std::fwrite(bytes.data(), 1, size, file) == size;
}

} // namespace

int saveMp3(const Bus& bus, const std::string& path, std::string& error) {
    const Lame lame = openLame();
    if (!lame) {
        error = "the mp3 encoder does not start";
        return -1;
    }
    const File file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        error = "cannot write " + path;
        return -1;
    }
    std::vector<unsigned char> bytes(bus.left.size() * 5 / 4 + 7200);
    const int body = lame_encode_buffer_ieee_float(lame.get(), bus.left.data(), bus.right.data(),
                                                   static_cast<int>(bus.left.size()), bytes.data(),
                                                   static_cast<int>(bytes.size()));
    bool written = writeBytes(file.get(), bytes, body);
    const int tail = lame_encode_flush(lame.get(), bytes.data(), static_cast<int>(bytes.size()));
    written = written && writeBytes(file.get(), bytes, tail);
    // The first frame was left blank for the tag, which is known only now.
    const size_t tag = lame_get_lametag_frame(lame.get(), bytes.data(), bytes.size());
    written = written && tag <= bytes.size() && std::fseek(file.get(), 0, SEEK_SET) == 0 &&
              writeBytes(file.get(), bytes, static_cast<int>(tag));
    if (!written) {
        error = "cannot write " + path;
    }
    return written ? 0 : -1;
}
