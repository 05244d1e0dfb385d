#!/usr/bin/env python3
"""Packs images and sounds with the asset tool, lists and extracts them, and compares what comes
back with what went in: pixels and samples exactly, colours at 15-bit precision, the audio delta
form within the error the tool reports. Draws the frames of an animation file and compares their
pixels. Then bad input: one line naming the file, a non-zero exit, and no output file."""
import math
import os
import re
import struct
import subprocess
import sys
import tempfile

tool = sys.argv[1]
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)
        print('FAILED:', what)


def run(*args):
    p = subprocess.run([tool, *args], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return p.returncode, p.stdout


def bmp(w, h, bits, rows, colours=(), compression=0):
    table = b''.join(struct.pack('<BBBB', b, g, r, 0) for r, g, b in colours)
    if compression:
        data = rows
    else:
        stride = (w * bits // 8 + 3) & ~3
        data = b''.join(r.ljust(stride, b'\0') for r in rows)
    off = 54 + len(table)
    return (b'BM' + struct.pack('<IHHI', off + len(data), 0, 0, off) +
            struct.pack('<IiiHHIIiiII', 40, w, h, 1, bits, compression, len(data), 2835, 2835, len(colours), 0) +
            table + data)


def wav(rate, bits, channels, samples):
    fmt = struct.pack('<HHIIHH', 1, channels, rate, rate * channels * bits // 8, channels * bits // 8, bits)
    data = bytes(samples) if bits == 8 else struct.pack('<%dh' % len(samples), *samples)
    return (b'RIFF' + struct.pack('<I', 36 + len(data)) + b'WAVE' + b'fmt ' + struct.pack('<I', 16) + fmt +
            b'data' + struct.pack('<I', len(data)) + data)


def pixels(image):
    return image[struct.unpack_from('<I', image, 10)[0]:]


def table(image):
    n = struct.unpack_from('<I', image, 46)[0]
    return [(image[54 + 4 * i + 2], image[54 + 4 * i + 1], image[54 + 4 * i]) for i in range(n)]


def samples(wave):
    at = wave.index(b'data') + 8
    return wave[at:at + struct.unpack_from('<I', wave, at - 4)[0]]


def widen15(c):
    v = c >> 3
    return (v << 3) | (v >> 2)


colours = [(i * 3 & 255, 255 - i, i * 7 & 255) for i in range(200)]
rle = b''.join(bytes([7, y, 0, 5, 0, 1, 2, 3, 4, 0, 3, 9, 0, 0]) for y in range(6)) + b'\0\1'
inputs = {
    'plain.bmp': bmp(37, 21, 8, [bytes((x // 3 + y) % 200 for x in range(37)) for y in range(21)], colours),
    'runs.bmp': bmp(15, 6, 8, rle, colours[:16], compression=1),
    'deep.bmp': bmp(13, 7, 16, [struct.pack('<13H', *((x * 1000 + y * 37) & 0x7FFF for x in range(13))) for y in range(7)]),
    'noise.bmp': bmp(64, 64, 8, [os.urandom(64) for _ in range(64)], [(i, i, i) for i in range(256)]),
    'tone.wav': wav(22050, 8, 1, [int(128 + 100 * math.sin(i * 0.05) + 20 * math.sin(i * 0.9)) for i in range(5003)]),
    'music.wav': wav(44100, 16, 2, [int(20000 * math.sin(i * math.pi / 50)) for i in range(6000)]),
}
order = ['plain.bmp', 'runs.bmp', 'deep.bmp', 'noise.bmp', 'tone.wav', 'music.wav']

with tempfile.TemporaryDirectory() as work:
    for name, data in inputs.items():
        with open(os.path.join(work, name), 'wb') as f:
            f.write(data)
    obj = os.path.join(work, 'out.obj')
    rc, out = run('pack', '--audio-delta', obj, *[os.path.join(work, n) for n in order])
    check(rc == 0, 'pack succeeds: ' + out)
    reported = re.search(r'tone: audio delta, 5003 samples in \d+ bytes, rms error ([\d.]+), largest (\d+)', out)
    check(reported is not None, 'pack reports the audio delta error: ' + out)

    rc, out = run('list', obj)
    rows = [line.split() for line in out.splitlines() if re.match(r'\s*\d', line)]
    check(rc == 0 and [r[2:4] + r[6:] for r in rows] ==
          [['bitmap', 'plain', 'lzss+palette'], ['bitmap', 'runs', 'lzss'], ['bitmap', 'deep', 'lzss'],
           ['bitmap', 'noise', 'stored'], ['sound', 'tone', 'audio-delta'], ['sound', 'music', 'lzss']],
          'list names types and compression: ' + out)

    back = os.path.join(work, 'back')
    rc, out = run('extract', obj, back)
    check(rc == 0, 'extract succeeds: ' + out)
    got = {}
    for i, name in enumerate(order):
        base, ext = os.path.splitext(name)
        with open(os.path.join(back, '%03d-%s%s' % (i, base, ext)), 'rb') as f:
            got[name] = f.read()
    for name in ('plain.bmp', 'runs.bmp', 'deep.bmp', 'noise.bmp'):
        check(pixels(got[name]) == pixels(inputs[name]), name + ': pixels come back')
    check(table(got['plain.bmp'])[:200] == [tuple(widen15(c) for c in rgb) for rgb in colours],
          'plain.bmp: colours come back at 15-bit precision')
    check(samples(got['music.wav']) == samples(inputs['music.wav']) and got['music.wav'][20:36] == inputs['music.wav'][20:36],
          'music.wav: format and samples come back')
    if reported:
        diff = [abs(a - b) for a, b in zip(samples(got['tone.wav']), samples(inputs['tone.wav']))]
        rms = math.sqrt(sum(d * d for d in diff) / len(diff))
        check(len(diff) == 5003 and max(diff) == int(reported.group(2)) and abs(rms - float(reported.group(1))) < 0.01,
              'tone.wav: the error reported is the error reached')
        check(rms < 3, 'tone.wav: the audio delta form keeps the error small (rms %.2f)' % rms)

    # An animation file: a background and a sprite in two frames, then a command frame; the
    # second frame keeps the background of the first. Images come without colours and take the
    # file's palette, whose 15-bit form the frames must show.
    anim_palette = [((i * 5) & 255, (i * 11) & 255, (255 - i) & 255) for i in range(256)]
    back_px = [[(x + 3 * y) % 256 for x in range(20)] for y in range(10)]
    sprite_px = [[200 + x + y for x in range(4)] for y in range(3)]

    def item(type_word, w, h, rows):
        image = bmp(w, h, 8, [bytes(r) for r in reversed(rows)], [(0, 0, 0)] * 256)
        block = struct.pack('<I', len(image)) + image
        return (struct.pack('<HHh', 0, 0, type_word) + b'item'.ljust(17, b'\0') +
                struct.pack('<III', len(block), len(block), 0) + block)

    def frame(flags, background, slot):
        return struct.pack('<HHIhhhhhhhhh', 0, flags, 0, -1, -1, background, 0, 0, -1, -1, -1, -1) + struct.pack('<Hhh', *slot)

    header = b'AniM' + struct.pack('<HhhIHHHHHHHHIHH', 1, 20, 10, 100, 0, 0, 0, 18, 0, 0, 0, 0, 0, 0, 0).ljust(90, b'\0')
    anim = (header + struct.pack('<H', 3) + frame(1, 0, (1, 2, 5)) + frame(1, -1, (1, 17, 12)) +
            frame(0x101, -1, (1, 0, 0)) + struct.pack('<H', 2) + item(1, 20, 10, back_px) + item(0, 4, 3, sprite_px) +
            b''.join(struct.pack('<BBBB', r, g, b, 0) for r, g, b in anim_palette))
    with open(os.path.join(work, 'hop.asa'), 'wb') as f:
        f.write(anim)
    rc, out = run('frames', os.path.join(work, 'hop.asa'), os.path.join(work, 'frames'))
    check(rc == 0 and sorted(os.listdir(os.path.join(work, 'frames'))) == ['frame000.bmp', 'frame001.bmp'],
          'frames writes the two ordinary frames: ' + out)

    def rgb15(index):
        r, g, b = anim_palette[index]
        return (r >> 3) << 10 | (g >> 3) << 5 | b >> 3

    for n, (sx, sy) in enumerate([(2, 2), (17, 9)]):
        want = [[rgb15(back_px[y][x]) for x in range(20)] for y in range(10)]
        for y in range(3):
            for x in range(4):
                if 0 <= sx + x < 20 and 0 <= sy + y < 10:
                    want[sy + y][sx + x] = rgb15(sprite_px[y][x])
        with open(os.path.join(work, 'frames', 'frame%03d.bmp' % n), 'rb') as f:
            data = pixels(f.read())
        got = [list(struct.unpack_from('<20H', data, 40 * (9 - y))) for y in range(10)]
        check(got == want, 'frame %d shows the background and the sprite at its place' % n)

    # Bad input leaves no output behind, and an existing one as it was.
    with open(os.path.join(work, 'cut.bmp'), 'wb') as f:
        f.write(inputs['plain.bmp'][:30])
    before = open(obj, 'rb').read()
    rc, out = run('pack', obj, os.path.join(work, 'tone.wav'), os.path.join(work, 'cut.bmp'))
    errors = [line for line in out.splitlines() if line.startswith('velnor-assets:')]
    check(rc != 0 and len(errors) == 1 and 'cut.bmp: ' in errors[0], 'a bad image is named in one line: ' + out)
    check(open(obj, 'rb').read() == before, 'a failed pack leaves the existing file alone')
    check(sorted(os.listdir(work)) == sorted(list(inputs) + ['out.obj', 'back', 'cut.bmp', 'hop.asa', 'frames']),
          'no partial file remains')
    rc, out = run('list', os.path.join(work, 'missing.obj'))
    check(rc != 0 and 'missing.obj: No such file or directory' in out, 'a missing file gives the system message: ' + out)
    rc, out = run('extract', '--help')
    check(rc == 0 and 'usage: velnor-assets extract' in out, 'extract --help')

print('asset tool round trip:', 'FAILED' if failures else 'passed')
sys.exit(1 if failures else 0)
