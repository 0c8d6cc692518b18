#include "hosts/alsa/InputPool.hpp"

// The kernel's own header. It cannot be included in one file with the library's.
#include <sound/asequencer.h>
#include <sys/ioctl.h>

namespace corvel::hosts {

std::optional<InputPool> queryInputPool(int sequencerDescriptor, int client) {
    snd_seq_client_pool pool{};
    pool.client = client;
    if (::ioctl(sequencerDescriptor, SNDRV_SEQ_IOCTL_GET_CLIENT_POOL, &pool) != 0 || pool.input_pool == 0) {
        return std::nullopt;
    }
    return InputPool{.size = pool.input_pool, .free = pool.input_free};
}

}  // namespace corvel::hosts
