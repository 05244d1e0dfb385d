// The sound device and the playing side of mDigSound. One sound is on the device at a time; its
// buffers come back as MM_WOM_DONE and the device's end as MM_WOM_CLOSE, both posted to a hidden
// window, so that every step below runs on the application's thread from the run loop.
#include "mMedia/mSoundDevice.h"
#include "mFile/mFile.h"
#include "mUtil/mApp.h"
#include "mWindow/mFrame.h"

#include <windows.h>
#include <mmsystem.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

// A streamed sound plays from two buffers of this size: one is refilled while the other plays.
const unsigned long bufferSize = 0x10000;
// The user message through which a failed start ends in the run loop, as a played sound does.
const short failedMessage = 10;
const char streamTag[4] = {'d', 'b', 'c', 't'};

struct StreamBlock {
    char tag[4];
    mDigSound *owner; // null once the sound has been stopped
    unsigned long remaining;
    unsigned short queued; // one bit per buffer that is with the device
    WAVEHDR headers[2];
    unsigned char buffers[2][bufferSize];
};

HWAVEOUT waveOf(void *wave) { return static_cast<HWAVEOUT>(wave); }

// Whether a returned header is one of a stream block's: a header of a sound in memory carries the
// sound itself, which is told apart by where the header lies.
StreamBlock *streamOf(WAVEHDR *h) {
    uintptr_t user = (uintptr_t)h->dwUser, at = (uintptr_t)h;
    uintptr_t first = user + offsetof(StreamBlock, headers);
    if (at != first && at != first + sizeof(WAVEHDR))
        return nullptr;
    StreamBlock *block = reinterpret_cast<StreamBlock *>(user);
    return std::memcmp(block->tag, streamTag, sizeof streamTag) == 0 ? block : nullptr;
}

} // namespace

// The hidden window that the wave output calls back.
class mSoundWindow : public mFrame {
public:
    mSoundWindow() : mFrame(nullptr, mRect(0, 0, 1, 1), 0, "mSound") {}
    ~mSoundWindow() override { mSoundDevice::get().windowGone(); }

    bool process(int message, mWParam wParam, mLParam lParam, mLResult &result) override {
        switch (message) {
        case MM_WOM_DONE:
            mSoundDevice::get().onDone(reinterpret_cast<void *>(wParam), reinterpret_cast<void *>(lParam));
            break;
        case MM_WOM_CLOSE:
            mSoundDevice::get().onClose(reinterpret_cast<void *>(wParam));
            break;
        case MM_WOM_OPEN:
            break;
        default:
            return mFrame::process(message, wParam, lParam, result);
        }
        result = 0;
        return true;
    }

    bool onUserMessage(short message, int param1, long param2, int &result) override {
        if (message != failedMessage)
            return false;
        mSoundDevice::get().onFailed((unsigned)param1);
        return true;
    }
};

// ---- The device.

mSoundDevice &mSoundDevice::get() {
    static mSoundDevice device;
    return device;
}

mSoundDevice::mSoundDevice() : current(nullptr), wave(nullptr), freeData(false), window(nullptr), generation(0) {}

// At unload the waiting sounds are dropped unheard; a current sound is left as it is.
mSoundDevice::~mSoundDevice() {
    queue.clear();
    mSoundWindow *hidden = window;
    window = nullptr;
    delete hidden;
}

bool mSoundDevice::start(mDigSound *sound) {
    sound->playing = false;
    if (!window)
        window = new mSoundWindow();
    if (current || wave) {
        queue.push_back(sound);
        return true;
    }
    current = sound;
    ++generation;
    sound->error = 0;
    if (!open(sound))
        return fail(sound);
    if (sound->file)
        return startStream(sound);
    return sound->data ? startMemory(sound) : fail(sound);
}

bool mSoundDevice::open(mDigSound *sound) {
    WAVEFORMATEX format = {};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = sound->channels;
    format.nSamplesPerSec = mDigSound::rateOf(sound->freq);
    format.wBitsPerSample = (WORD)mDigSound::bitsOf(sound->sampSize);
    format.nBlockAlign = (WORD)(format.wBitsPerSample * format.nChannels / 8);
    format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
    if (!format.nSamplesPerSec)
        sound->error = mDigSound::BAD_RATE;
    else if (!format.wBitsPerSample)
        sound->error = mDigSound::BAD_SIZE;
    if (sound->error)
        return false;
    HWAVEOUT opened = nullptr;
    MMRESULT r = waveOutOpen(&opened, WAVE_MAPPER, &format, (DWORD_PTR)window->getPeer(), (DWORD_PTR)sound,
                             CALLBACK_WINDOW);
    if (r != MMSYSERR_NOERROR) {
        sound->error = r;
        return false;
    }
    wave = opened;
    return true;
}

// Prepares and writes one header; on failure nothing of it stays with the device.
static MMRESULT send(HWAVEOUT wave, WAVEHDR *h) {
    MMRESULT r = waveOutPrepareHeader(wave, h, sizeof *h);
    if (r != MMSYSERR_NOERROR)
        return r;
    r = waveOutWrite(wave, h, sizeof *h);
    if (r != MMSYSERR_NOERROR)
        waveOutUnprepareHeader(wave, h, sizeof *h);
    return r;
}

bool mSoundDevice::startMemory(mDigSound *sound) {
    WAVEHDR *h = new WAVEHDR();
    h->lpData = static_cast<LPSTR>(sound->data);
    h->dwBufferLength = sound->length;
    h->dwUser = (DWORD_PTR)sound;
    if (sound->looping) {
        h->dwFlags = WHDR_BEGINLOOP | WHDR_ENDLOOP;
        h->dwLoops = 0xFFFFFFFF;
    }
    MMRESULT r = send(waveOf(wave), h);
    if (r != MMSYSERR_NOERROR) {
        delete h;
        sound->error = r;
        return fail(sound);
    }
    sound->transfer = h;
    sound->playing = true;
    return true;
}

// Reads up to count bytes of the sound's remaining samples; a failed read ends the stream as
// the end of the file would.
static unsigned long readOn(StreamBlock *block, unsigned char *to, unsigned long count, mInputFile &file) {
    unsigned long want = std::min(count, block->remaining);
    int got = want ? file.readBytes(to, (int)want) : 0;
    block->remaining = got == (int)want ? block->remaining - want : 0;
    return got > 0 ? (unsigned long)got : 0;
}

static bool sendBuffer(HWAVEOUT wave, StreamBlock *block, int index, unsigned long count) {
    WAVEHDR *h = &block->headers[index];
    std::memset(h, 0, sizeof *h);
    h->lpData = reinterpret_cast<LPSTR>(block->buffers[index]);
    h->dwBufferLength = count;
    h->dwUser = (DWORD_PTR)block;
    if (send(wave, h) != MMSYSERR_NOERROR)
        return false;
    block->queued |= (unsigned short)(1 << index);
    return true;
}

bool mSoundDevice::startStream(mDigSound *sound) {
    StreamBlock *block = static_cast<StreamBlock *>(mApp::malloc(sizeof(StreamBlock)));
    std::memcpy(block->tag, streamTag, sizeof streamTag);
    block->owner = sound;
    block->queued = 0;
    block->remaining = sound->file->seekFrom(sound->dataStart, mFile::seekStart) ? sound->length : 0;
    for (int i = 0; i < 2; ++i) {
        unsigned long n = readOn(block, block->buffers[i], bufferSize, *sound->file);
        if (n && sendBuffer(waveOf(wave), block, i, n)) {
            sound->transfer = block;
            sound->playing = true;
            continue;
        }
        if (i == 0) {
            mApp::free(block);
            sound->error = mDigSound::STREAM_FAILED;
            return fail(sound);
        }
        if (n) {
            block->remaining = 0;
            sound->error = mDigSound::STREAM_FAILED;
            return false;
        }
    }
    return true;
}

// The failed sound stays current until its message comes back through the run loop.
bool mSoundDevice::fail(mDigSound *sound) {
    window->postUserMessage(failedMessage, (int)generation, 0);
    closeWave();
    return false;
}

// A handle that refuses to close sends no close message, so it is given up at once.
void mSoundDevice::closeWave() {
    if (wave && waveOutClose(waveOf(wave)) != MMSYSERR_NOERROR)
        wave = nullptr;
}

void mSoundDevice::startNext() {
    if (current || wave || queue.empty())
        return;
    mDigSound *next = queue.front();
    queue.pop_front();
    start(next);
}

void mSoundDevice::tell(mDigSound *sound) {
    mSoundListener *listener = sound->listener;
    if (!listener)
        return;
    sound->listener = nullptr;
    listener->soundComplete(sound);
}

void mSoundDevice::onFailed(unsigned failed) {
    mDigSound *sound = failed == generation ? current : nullptr;
    if (sound)
        current = nullptr;
    startNext();
    if (sound)
        tell(sound);
}

void mSoundDevice::onClose(void *closed) {
    if (closed != wave)
        return;
    wave = nullptr;
    startNext();
}

void mSoundDevice::onDone(void *from, void *header) {
    WAVEHDR *h = static_cast<WAVEHDR *>(header);
    waveOutUnprepareHeader(waveOf(from), h, sizeof *h);
    if (StreamBlock *block = streamOf(h))
        streamDone(block, h);
    else
        memoryDone(h);
}

void mSoundDevice::memoryDone(void *header) {
    WAVEHDR *h = static_cast<WAVEHDR *>(header);
    mDigSound *sound = reinterpret_cast<mDigSound *>(h->dwUser);
    if (!sound && freeData) {
        mApp::free(h->lpData);
        freeData = false;
    }
    delete h;
    current = nullptr;
    closeWave();
    if (!sound)
        return;
    sound->playing = false;
    sound->transfer = nullptr;
    tell(sound);
}

void mSoundDevice::streamDone(void *blockPtr, void *header) {
    StreamBlock *block = static_cast<StreamBlock *>(blockPtr);
    int index = header == &block->headers[0] ? 0 : 1;
    block->queued &= (unsigned short)~(1 << index);
    mDigSound *sound = block->owner;
    if (sound) {
        unsigned char *to = block->buffers[index];
        unsigned long n = block->remaining ? readOn(block, to, bufferSize, *sound->file) : 0;
        // A loop joins its start in the same buffer, so that it has no gap.
        if (n < bufferSize && sound->looping && sound->file->seekFrom(sound->dataStart, mFile::seekStart)) {
            block->remaining = sound->length;
            n += readOn(block, to + n, bufferSize - n, *sound->file);
        }
        if (n && sendBuffer(waveOf(wave), block, index, n))
            return;
    }
    if (block->queued)
        return;
    closeWave();
    current = nullptr;
    mApp::free(block);
    if (!sound)
        return;
    sound->transfer = nullptr;
    sound->playing = false;
    tell(sound);
}

bool mSoundDevice::stop(mDigSound *sound) {
    size_t before = queue.size();
    queue.erase(std::remove(queue.begin(), queue.end(), sound), queue.end());
    bool found = queue.size() != before;
    if (sound != current)
        return found;
    if (sound->transfer) {
        if (sound->file) {
            StreamBlock *block = static_cast<StreamBlock *>(sound->transfer);
            block->remaining = 0;
            block->owner = nullptr;
            sound->listener = nullptr;
        } else {
            static_cast<WAVEHDR *>(sound->transfer)->dwUser = 0;
        }
        waveOutReset(waveOf(wave));
    }
    sound->transfer = nullptr;
    sound->playing = false;
    current = nullptr;
    return true;
}

void mSoundDevice::stopAll() {
    std::deque<mDigSound *> waiting;
    waiting.swap(queue);
    while (!waiting.empty()) {
        mDigSound *sound = waiting.back();
        waiting.pop_back();
        tell(sound);
    }
    mDigSound *playing = current;
    if (playing && stop(playing))
        tell(playing);
}

bool mSoundDevice::release(mDigSound *sound) {
    bool held = sound == current && sound->transfer && !sound->file;
    stop(sound);
    if (held)
        freeData = true;
    return held;
}

// ---- mDigSound's playing side.

bool mDigSound::play(int flags, mSoundListener *listener) {
    if (flags & STOP_ALL)
        stopAllSounds();
    looping = (flags & LOOP) != 0;
    this->listener = listener;
    return mSoundDevice::get().start(this);
}

bool mDigSound::stop() { return mSoundDevice::get().stop(this); }

void mDigSound::stopAllSounds() { mSoundDevice::get().stopAll(); }

bool mDigSound::isAnyPlaying() { return mSoundDevice::get().isAnyPlaying(); }

// The platform's format flags run from 11025 Hz 8-bit mono in bit 0 to 44100 Hz 16-bit stereo in bit 11.
bool mDigSound::canPlay(mDigFreq freq, mDigSample sample, int channels) {
    if (!rateOf(freq) || !bitsOf(sample) || (channels != 1 && channels != 2))
        return false;
    WAVEOUTCAPSA caps;
    if (waveOutGetDevCapsA(WAVE_MAPPER, &caps, sizeof caps) != MMSYSERR_NOERROR)
        return false;
    return (caps.dwFormats >> ((freq - 1) * 4 + (sample - 1) * 2 + channels - 1)) & 1;
}
