// Digital sound: uncompressed PCM at 11025, 22050 or 44100 Hz in 8 or 16 bits, held in memory
// or streamed from a wave file, and played one at a time through the sound device's queue.
#pragma once
#include "mUtil/mString.h"

class mDigSound;
class mInputFile;
class mObjFile;

// Told once when a sound that was played with it has ended, on the application's thread.
class VELNOR_API mSoundListener {
public:
    virtual ~mSoundListener() {}
    virtual void soundComplete(mDigSound *sound) = 0;
};

class VELNOR_API mDigSound {
public:
    enum mDigFreq { freq11025 = 1, freq22050 = 2, freq44100 = 3 };
    enum mDigSample { bits8 = 1, bits16 = 2 };
    // Flags of play.
    enum { LOOP = 1, STOP_ALL = 2 };
    // Reasons in getError beside the platform's own result codes.
    enum { BAD_RATE = 1, BAD_SIZE = 2, STREAM_FAILED = 3 };
    // A sound longer than one device buffer may stay on disk.
    enum { STREAM_THRESHOLD = 0x10000 };

    // A wave file; with allowStreaming a sound above STREAM_THRESHOLD bytes keeps its file open
    // and is read while it plays.
    mDigSound(const mString &path, bool allowStreaming);
    // Keeps a literal path from being taken for a memory image.
    mDigSound(const char *path, bool allowStreaming) : mDigSound(mString(path), allowStreaming) {}
    // A wave file of the caller's, opened if it is closed; the samples are read into memory.
    mDigSound(mInputFile &file);
    // A sound object of an object file: 4 bytes that are not looked at, then a wave image.
    mDigSound(mObjFile &file, int index);
    // The same payload already in memory; size counts the 4 leading bytes.
    mDigSound(const void *image, int size);
    // Raw samples, copied.
    mDigSound(const void *samples, unsigned long length, mDigFreq freq, mDigSample sampSize, bool stereo);
    // Samples are copied, a streamed sound opens its file anew; the play state starts cleared.
    mDigSound(const mDigSound &other);
    mDigSound &operator=(const mDigSound &) = delete;
    // Stops the sound without telling its listener.
    ~mDigSound();

    // The two in sequence; both in memory and of one format.
    mDigSound operator+(const mDigSound &other) const;

    // Duration in milliseconds.
    unsigned long getLength() const;
    mDigFreq getFreq() const { return freq; }
    mDigSample getSampSize() const { return sampSize; }
    unsigned long getError() const { return error; }
    bool isLooping() const { return looping; }
    bool isPlaying() const { return playing; }
    bool isStereo() const { return channels == 2; }
    bool isDiskFile() const { return file != nullptr; }
    // The samples of a sound in memory, null for a streamed one; byteLength in bytes.
    const void *getDataPtr() const { return data; }
    unsigned long getByteLength() const { return length; }

    static bool fixSound(const unsigned char *image, unsigned long size);

    // Starts the sound, or queues it behind the one playing. false only when an immediate start
    // failed; the listener is told all the same, later, from the run loop.
    bool play(int flags, mSoundListener *listener);
    // Takes the sound out of the queue and off the device; its listener is not told.
    bool stop();
    // Empties the queue and stops the current sound, telling the listeners.
    static void stopAllSounds();
    static bool isAnyPlaying();
    static bool canPlay(mDigFreq freq, mDigSample sample, int channels);
    // Hz of a rate, and bits of a sample size; 0 outside the tables.
    static unsigned long rateOf(mDigFreq freq);
    static unsigned bitsOf(mDigSample sample);

private:
    friend class mSoundDevice;

    // Takes over a block of the library's heap as the samples of the format of like.
    mDigSound(void *samples, unsigned long length, const mDigSound &like);

    void init();
    void readSamples(mInputFile &from);
    bool parseWave(mInputFile *from);
    bool parseWave(const void *image, int &size);
    bool takeFormat(const unsigned char *fmt);
    void loadImage(const void *image, int size);

    mInputFile *file;
    long dataStart;
    unsigned long length;
    void *data;
    mDigFreq freq;
    mDigSample sampSize;
    unsigned short channels;
    unsigned long error;
    bool looping;
    bool playing;
    void *transfer;
    mSoundListener *listener;
};
