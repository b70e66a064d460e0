// Stand-ins for what libespeak-ng wants to have at hand for programs that let it play, and that
// this one, which only takes samples, never uses.
//
// The functions of the audio library libpcaudio: libespeak-ng looks for a device even when it only
// hands samples back. libpcaudio would look for a sound server, start a connection and leave files
// in the user's home directory, and needs 20 more libraries to be loaded at every start. Without a
// device, libespeak-ng does the same for us.

#include <cstddef>
#include <cstdint>

extern "C" {

void* create_audio_device_object(const char* /*device*/, const char* /*name*/,
                                 const char* /*what*/) {
  return nullptr;
}

// Without a device, nothing below is called.

void audio_object_destroy(void* /*device*/) {}

int audio_object_open(void* /*device*/, int /*format*/, std::uint32_t /*rate*/,
                      std::uint8_t /*channels*/) {
  return -1;
}

void audio_object_close(void* /*device*/) {}

int audio_object_write(void* /*device*/, const void* /*data*/, std::size_t /*bytes*/) {
  return -1;
}

int audio_object_drain(void* /*device*/) {
  return -1;
}

int audio_object_flush(void* /*device*/) {
  return -1;
}

const char* audio_object_strerror(void* /*device*/, int /*error*/) {
  return "no device";
}

// Called in place of fifo_init (linker option --wrap), which starts a thread that waits for texts
// to be queued. Texts are spoken one by one here, by the caller's thread.
void __wrap_fifo_init() {}

}  // extern "C"
