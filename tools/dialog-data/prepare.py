#!/usr/bin/python3
"""Prepares the dialogue detector's training and validation data from unpacked Debian packages.

Steps (each skipped when its output is already there, so a rerun resumes):
  sources   picks the source files (seeded), converts them to 48 kHz 16-bit WAV, drops spoken
            captions with a silent channel or clipping, synthesises speech from fortunes with
            espeak-ng, flite and festival, renders MIDI (openttd-openmsx, mma accompaniment) with
            fluidsynth and fluid-soundfont-gm, and writes the manifest (package, version, file,
            sha256, role, split).
  mixes     makes the mixes (seeded): near-centre speech, some with a little stereo reverb, over
            stereo music, ambience or per-channel noise, at speech-to-background ratios from
            -10 to +20 dB, some background-only and speech-only. Each mix is two float WAV stems
            (speech, background: the mix is their sum) and a line in mixes.tsv.

The validation split is by file: a source file is in it when a hash of its name says so, and a
validation mix takes only validation files. Nothing here reads anything but the unpacked packages
under DATA/pkgs and what the named generators write.

Usage: prepare.py --data DIR [--seed N] [--train-mixes N] [--val-mixes N]
"""
import argparse
import concurrent.futures
import hashlib
import io
import math
import os
import re
import subprocess
import sys
import zipfile

import numpy as np
import scipy.io.wavfile as wavfile
from scipy.signal import fftconvolve, lfilter

RATE = 48000
MIX_SECONDS = 8.0
VAL_PERCENT = 15          # share of each source's files held out for validation
SYNTHETIC_SHARE = 0.25    # synthetic speech's largest share of all speech (the issue allows 30 %)

# Natural speech sources: package, how many files to take (seeded pick), chance per utterance.
SPEECH_SOURCES = {
    "fillets-ng-data-cs": (450, 0.30),
    "tuxpaint-stamps-default": (600, 0.25),
    "asterisk-core-sounds-en-wav": (300, 0.15),
    "klettres-data": (300, 0.15),
    "hedgewars-data": (300, 0.15),
}


def log(*args):
    print("dialog-data:", *args, flush=True)


def sha256_bytes(data):
    return hashlib.sha256(data).hexdigest()


def sha256_file(path):
    h = hashlib.sha256()
    with open(path, "rb") as f:
        for chunk in iter(lambda: f.read(1 << 20), b""):
            h.update(chunk)
    return h.hexdigest()


def split_of(name):
    """Validation or training, by file: a stable hash of the file's name."""
    return "val" if int(hashlib.sha1(name.encode()).hexdigest()[:8], 16) % 100 < VAL_PERCENT else "train"


def package_version(data, package):
    debs = [d for d in os.listdir(os.path.join(data, "debs")) if d.startswith(package + "_")]
    if debs:
        return subprocess.run(["dpkg-deb", "-f", os.path.join(data, "debs", debs[0]), "Version"],
                              capture_output=True, text=True, check=True).stdout.strip()
    out = subprocess.run(["dpkg-query", "-W", "-f=${Version}", package], capture_output=True, text=True)
    return out.stdout.strip() or "unknown"


def run(cmd, **kw):
    return subprocess.run(cmd, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **kw)


def decode(source, target, channels, seconds=None, offset=0.0):
    """Any audio file to 48 kHz 16-bit WAV with the given channel count (ffmpeg)."""
    cmd = ["ffmpeg", "-nostdin", "-y", "-v", "error", "-ss", "%.3f" % offset, "-i", source]
    if seconds:
        cmd += ["-t", "%.3f" % seconds]
    cmd += ["-ac", str(channels), "-ar", str(RATE), "-c:a", "pcm_s16le", target]
    run(cmd)


def read_wav(path):
    rate, x = wavfile.read(path)
    assert rate == RATE, path
    if x.dtype == np.int16:
        x = x.astype(np.float32) / 32768.0
    x = x.astype(np.float32)
    return x if x.ndim == 2 else x[:, None]


def write_wav16(path, x):
    wavfile.write(path, RATE, (np.clip(x, -1.0, 32767 / 32768) * 32768.0).astype(np.int16))


# ---------------------------------------------------------------------------------------------
# Sources

class Manifest:
    def __init__(self):
        self.rows = []

    def add(self, package, version, file, checksum, role, split, local):
        self.rows.append((package, version, file, checksum, role, split, local))

    def write(self, path):
        with open(path, "w") as f:
            f.write("package\tversion\tfile\tsha256\trole\tsplit\tlocal\n")
            for row in sorted(self.rows, key=lambda r: (r[4], r[0], r[2])):
                f.write("\t".join(row) + "\n")


def natural_speech(data, rng, manifest, pool):
    pkgs = os.path.join(data, "pkgs")
    found = {
        "fillets-ng-data-cs": [p for p in walk(pkgs, "fillets-ng-data-cs") if p.endswith(".ogg") and "/cs/" in p],
        "tuxpaint-stamps-default": [p for p in walk(pkgs, "tuxpaint-stamps-default") if p.endswith(".ogg") and "_desc" in p],
        "asterisk-core-sounds-en-wav": [p for p in walk(pkgs, "asterisk-core-sounds-en-wav") if p.endswith(".wav")],
        "klettres-data": [p for p in walk(pkgs, "klettres-data") if p.endswith(".ogg")],
        "hedgewars-data": [p for p in walk(pkgs, "hedgewars-data") if p.endswith(".ogg") and "/Sounds/voices/" in p],
    }
    jobs = []
    for package, (count, _) in SPEECH_SOURCES.items():
        version = package_version(data, package)
        files = found[package]
        chosen = [files[i] for i in sorted(rng.choice(len(files), min(count, len(files)), replace=False))]
        for path in chosen:
            rel = os.path.relpath(path, os.path.join(pkgs, package))
            local = os.path.join(pool, package, rel.replace("/", "_").rsplit(".", 1)[0] + ".wav")
            jobs.append((package, version, path, rel, local))

    dropped = []

    def convert(job):
        package, version, path, rel, local = job
        os.makedirs(os.path.dirname(local), exist_ok=True)
        if package == "tuxpaint-stamps-default":
            # Captions: drop a file with a silent channel or with clipping; keep the others as mono.
            stereo = local + ".stereo.wav"
            if not os.path.exists(local):
                decode(path, stereo, 2)
                x = read_wav(stereo)
                os.remove(stereo)
                rms = np.sqrt(np.mean(x ** 2, axis=0)) + 1e-12
                clipped = np.sum(np.abs(x) >= 0.999) >= 3
                silent_channel = 20 * math.log10(min(rms) / max(rms)) < -40 or max(rms) < 1e-4
                if clipped or silent_channel:
                    return (job, "clipping" if clipped else "silent channel")
                write_wav16(local, x.mean(axis=1))
        elif not os.path.exists(local):
            decode(path, local, 1)
        return (job, None)

    with concurrent.futures.ThreadPoolExecutor(2) as ex:
        for (package, version, path, rel, local), reason in ex.map(convert, jobs):
            if reason:
                dropped.append((rel, reason))
                continue
            manifest.add(package, version, rel, sha256_file(path), "speech", split_of(package + "/" + rel), os.path.relpath(local, data))
    log("natural speech: %d files, %d captions dropped" % (len(jobs) - len(dropped), len(dropped)))


def walk(root, package):
    out = []
    for d, _, files in os.walk(os.path.join(root, package)):
        out += [os.path.join(d, f) for f in files]
    return sorted(out)


def fortune_sentences(data):
    """Short one-sentence fortunes from the fortunes package (plain ASCII, 30 to 160 letters)."""
    folder = os.path.join(data, "pkgs", "fortunes", "usr", "share", "games", "fortunes")
    sentences = []
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if "." in name or not os.path.isfile(path) or os.path.islink(path):
            continue
        with open(path, "rb") as f:
            text = f.read().decode("utf-8", "replace")
        for index, entry in enumerate(text.split("\n%\n")):
            line = " ".join(entry.split())
            if 30 <= len(line) <= 160 and re.fullmatch(r"[A-Za-z0-9 ,.;:'!?\-]+", line) and "--" not in line:
                sentences.append((name, index, line))
    return sentences


def synthetic_speech(data, rng, manifest, pool, per_engine):
    sentences = fortune_sentences(data)
    chosen = [sentences[i] for i in sorted(rng.choice(len(sentences), 3 * per_engine, replace=False))]
    fortunes_version = package_version(data, "fortunes")
    engines = ["espeak-ng", "flite", "festival"]
    espeak_voices = ["en", "en-us", "en+f3", "en+m3", "en-gb-scotland", "en+f2"]
    flite_voices = ["kal", "awb", "rms", "slt", "kal16"]
    os.makedirs(os.path.join(pool, "synthetic"), exist_ok=True)
    jobs = []
    for i, (name, index, line) in enumerate(chosen):
        engine = engines[i % 3]
        local = os.path.join(pool, "synthetic", "%s-%03d.wav" % (engine, i))
        jobs.append((engine, i, name, index, line, local, int(rng.integers(1 << 30))))

    def speak(job):
        engine, i, name, index, line, local, seed = job
        if os.path.exists(local):
            return job
        raw = local + ".raw.wav"
        r = np.random.default_rng(seed)
        if engine == "espeak-ng":
            run(["espeak-ng", "-v", espeak_voices[i % len(espeak_voices)], "-s", str(int(r.integers(140, 185))),
                 "-p", str(int(r.integers(30, 70))), "-w", raw, line])
        elif engine == "flite":
            run(["flite", "-voice", flite_voices[i % len(flite_voices)], "-t", line, "-o", raw])
        else:
            text = raw + ".txt"
            with open(text, "w") as f:
                f.write(line + "\n")
            run(["text2wave", "-eval", "(voice_cmu_us_slt_arctic_hts)", text, "-o", raw])
            os.remove(text)
        decode(raw, local, 1)
        os.remove(raw)
        return job

    with concurrent.futures.ThreadPoolExecutor(2) as ex:
        for engine, i, name, index, line, local, _ in ex.map(speak, jobs):
            manifest.add(engine, package_version(data, engine), "fortunes/%s entry %d (fortunes %s)" % (name, index, fortunes_version),
                         sha256_bytes(line.encode()), "speech-synthetic", split_of("synthetic/%d" % i), os.path.relpath(local, data))
    log("synthetic speech: %d sentences" % len(jobs))


MMA_GROOVES = ["BossaNova", "Ballad", "Swing", "Rhumba", "Waltz", "Folk", "CountrySwing", "50sRock", "SoftRock",
               "Jazz54", "Beguine", "Bolero", "Slowbolero", "Tango", "LightTango", "Samba", "Metronome2-4", "Polka",
               "Shuffleboogie", "EasySwing", "Dixie", "BigBand", "PopBallad", "Salsa"]
MMA_CHORDS = ["C", "Am", "F", "G7", "Dm7", "Em", "A7", "D7", "Bb", "Gm", "Cmaj7", "Fmaj7", "E7", "Am7", "C7"]


def music(data, rng, manifest, pool, excerpt):
    pkgs = os.path.join(data, "pkgs")
    os.makedirs(os.path.join(pool, "music"), exist_ok=True)
    os.makedirs(os.path.join(pool, "ambience"), exist_ok=True)
    tmp = os.path.join(pool, "tmp")
    os.makedirs(tmp, exist_ok=True)
    jobs = []  # (package, version, file, checksum, role, split, source path, local, channels, is excerpt)

    # 0 A.D.: music and ambience, inside the package's public.zip.
    zpath = os.path.join(pkgs, "0ad-data", "usr/share/games/0ad/mods/public/public.zip")
    version = package_version(data, "0ad-data")
    with zipfile.ZipFile(zpath) as z:
        for name in sorted(z.namelist()):
            if not name.endswith(".ogg") or not (name.startswith("audio/music/") or name.startswith("audio/ambient/")):
                continue
            role = "music" if name.startswith("audio/music/") else "ambience"
            local = os.path.join(pool, role, "0ad_" + name.replace("/", "_")[:-4] + ".wav")
            blob = z.read(name)
            extracted = os.path.join(tmp, os.path.basename(name))
            if not os.path.exists(local):
                with open(extracted, "wb") as f:
                    f.write(blob)
            jobs.append(("0ad-data", version, "public.zip:" + name, sha256_bytes(blob), role, extracted, local))

    version = package_version(data, "warzone2100-music")
    for path in walk(pkgs, "warzone2100-music"):
        if path.endswith(".opus"):
            rel = os.path.relpath(path, os.path.join(pkgs, "warzone2100-music"))
            local = os.path.join(pool, "music", "wz_" + rel.replace("/", "_")[:-5] + ".wav")
            jobs.append(("warzone2100-music", version, rel, sha256_file(path), "music", path, local))

    # MIDI: openttd-openmsx's songs and generated mma accompaniment, rendered by fluidsynth.
    soundfont = "/usr/share/sounds/sf2/FluidR3_GM.sf2"
    midis = []
    version = package_version(data, "openttd-openmsx")
    for path in walk(pkgs, "openttd-openmsx"):
        if path.endswith(".mid"):
            rel = os.path.relpath(path, os.path.join(pkgs, "openttd-openmsx"))
            midis.append(("openttd-openmsx", version, rel, sha256_file(path), path, "openmsx_" + os.path.basename(path)[:-4]))
    mma_version = package_version(data, "mma")
    for i in range(24):
        groove = MMA_GROOVES[i % len(MMA_GROOVES)]
        bars = ["%d %s" % (b + 1, MMA_CHORDS[int(rng.integers(len(MMA_CHORDS)))]) for b in range(40)]
        text = "Tempo %d\nGroove %s\n%s\n" % (int(rng.integers(70, 150)), groove, "\n".join(bars))
        src = os.path.join(tmp, "mma%02d.mma" % i)
        with open(src, "w") as f:
            f.write(text)
        mid = os.path.join(tmp, "mma%02d.mid" % i)
        if not os.path.exists(os.path.join(pool, "music", "mma_%02d.wav" % i)):
            run(["mma", "-f", mid, src])
        midis.append(("mma", mma_version, "generated song %02d (groove %s)" % (i, groove), sha256_bytes(text.encode()), mid, "mma_%02d" % i))
    fs_version = package_version(data, "fluidsynth")
    sf_version = package_version(data, "fluid-soundfont-gm")
    for package, version, rel, checksum, path, stem in midis:
        local = os.path.join(pool, "music", stem + ".wav")
        rendered = os.path.join(tmp, stem + ".render.wav")
        if not os.path.exists(local):
            run(["fluidsynth", "-ni", "-q", "-g", "0.5", "-r", str(RATE), "-F", rendered, soundfont, path])
        jobs.append((package, version, rel + " rendered by fluidsynth %s with fluid-soundfont-gm %s" % (fs_version, sf_version),
                     checksum, "music-midi", rendered, local))
    manifest.add("fluid-soundfont-gm", sf_version, "usr/share/sounds/sf2/FluidR3_GM.sf2", sha256_file(soundfont), "renderer", "-", "-")

    def convert(job):
        package, version, rel, checksum, role, source, local = job
        if os.path.exists(local):
            return job
        # A seeded excerpt of at most `excerpt` seconds, from a quarter in (songs open quietly).
        decode(source, local + ".full.wav", 2)
        x = read_wav(local + ".full.wav")
        os.remove(local + ".full.wav")
        n = int(excerpt * RATE)
        if len(x) > n:
            start = int(np.random.default_rng(int(checksum[:8], 16)).integers(len(x) // 4, len(x) - n + 1)) if len(x) // 4 <= len(x) - n else 0
            x = x[start:start + n]
        write_wav16(local, x)
        if source.startswith(tmp):
            os.remove(source)
        return job

    with concurrent.futures.ThreadPoolExecutor(2) as ex:
        for package, version, rel, checksum, role, source, local in ex.map(convert, jobs):
            split = split_of(package + "/" + rel)
            manifest.add(package, version, rel, checksum, "ambience" if role == "ambience" else "music", split, os.path.relpath(local, data))
    log("background: %d files" % len(jobs))


# ---------------------------------------------------------------------------------------------
# Mixes

PINK_B = [0.049922035, -0.095993537, 0.050612699, -0.004408786]  # a -3 dB/octave approximation
PINK_A = [1.0, -2.494956002, 2.017265875, -0.522189400]


def noise(rng, kind, n):
    """Stereo noise, each channel from its own seeded generator, with some correlation between them."""
    rho = float(rng.uniform(0.0, 0.5))
    chans = []
    for c in range(2):
        g = np.random.default_rng(int(rng.integers(1 << 62)))  # a generator per channel
        w = g.standard_normal(n + 4800)
        if kind == "pink":
            w = lfilter(PINK_B, PINK_A, w)
        elif kind == "brown":
            w = lfilter([1.0], [1.0, -0.995], w)
        chans.append(w[4800:])
    left = chans[0]
    right = rho * chans[0] + math.sqrt(1 - rho * rho) * chans[1]
    return np.stack([left, right], axis=1).astype(np.float32)


def trim(x, threshold_db=-45.0):
    """Cuts leading and trailing silence (10 ms blocks below threshold relative to the peak)."""
    block = 480
    n = len(x) // block
    if n < 2:
        return x
    rms = np.sqrt(np.mean(x[:n * block].reshape(n, block) ** 2, axis=1)) + 1e-12
    on = np.nonzero(20 * np.log10(rms / rms.max()) > threshold_db)[0]
    if len(on) == 0:
        return x[:0]
    return x[max(0, on[0] - 2) * block:min(n, on[-1] + 3) * block]


def stereo_reverb(rng, x):
    """A little room: independent decaying noise tails for L and R after a short pre-delay."""
    rt60 = float(rng.uniform(0.15, 0.6))
    n = int(rt60 * RATE)
    t = np.arange(n) / RATE
    wet = []
    for c in range(2):
        g = np.random.default_rng(int(rng.integers(1 << 62)))
        ir = g.standard_normal(n) * np.exp(-6.9 * t / rt60)
        ir = np.concatenate([np.zeros(int(rng.uniform(0.005, 0.02) * RATE)), ir])
        ir /= np.sqrt(np.sum(ir ** 2))
        wet.append(fftconvolve(x, ir)[:len(x)])
    level = 10 ** (float(rng.uniform(-16.0, -6.0)) / 20)
    return np.stack(wet, axis=1) * level


class Pools:
    def __init__(self, data, manifest_path):
        self.items = {}
        with open(manifest_path) as f:
            next(f)
            for line in f:
                package, version, file, checksum, role, split, local = line.rstrip("\n").split("\t")
                if local == "-":
                    continue
                key = (role if role != "speech" else "speech:" + package, split)
                self.items.setdefault(key, []).append(os.path.join(data, local))
        self.cache = {}

    def get(self, key, split):
        return self.items.get((key, split), [])

    def load(self, path):
        if path not in self.cache:
            if len(self.cache) > 400:
                self.cache.clear()
            self.cache[path] = read_wav(path)
        return self.cache[path]


def excerpt(rng, x, n):
    """n samples of x from a random place (looped when x is shorter)."""
    if len(x) < n:
        x = np.concatenate([x] * (n // len(x) + 1))
    start = int(rng.integers(0, len(x) - n + 1))
    return x[start:start + n]


def make_background(rng, pools, split, n):
    r = rng.uniform()
    parts, names = [], []

    def take(role):
        files = pools.get(role, split)
        path = files[int(rng.integers(len(files)))]
        names.append(os.path.basename(path))
        x = pools.load(path)
        if x.shape[1] == 2 and np.sum((x[:, 0] - x[:, 1]) ** 2) < 1e-4 * np.sum(x ** 2):
            x = x[:, :1]  # the same signal on both sides is a mono file
        if x.shape[1] == 1:  # a mono file: two far-apart places of it, one per side
            a = excerpt(rng, x[:, 0], n)
            b = excerpt(rng, x[:, 0], n)
            return np.stack([a, b], axis=1)
        y = excerpt(rng, x, n)
        if rng.uniform() < 0.5:
            y = y[:, ::-1]
        return y

    def level(y):
        return y / (np.sqrt(np.mean(y ** 2)) + 1e-9)

    if r < 0.35:
        kind = "music"
        parts.append(level(take("music")))
    elif r < 0.55:
        kind = "midi"
        parts.append(level(take("music-midi") if pools.get("music-midi", split) else take("music")))
    elif r < 0.70:
        kind = "ambience"
        parts.append(level(take("ambience")))
    elif r < 0.82:
        kind = "noise"
        colour = ["white", "pink", "brown"][int(rng.integers(3))]
        names.append(colour + " noise")
        parts.append(level(noise(rng, colour, n)))
    else:
        kind = "music+ambience"
        parts.append(level(take("music")))
        parts.append(level(take("ambience")) * 10 ** (float(rng.uniform(-15, -3)) / 20))
    return kind, np.sum(parts, axis=0), names


def make_speech(rng, pools, split, n, budget):
    """Utterances one after another with pauses. budget counts the speech placed so far in all
    mixes (samples, synthetic samples): a synthetic utterance is taken only while it keeps the
    synthetic share of all speech at or below SYNTHETIC_SHARE."""
    speech = np.zeros(n, np.float32)
    names = []
    synthetic_samples = 0
    t = int(rng.uniform(0.0, 0.8) * RATE)
    natural = [p for p in SPEECH_SOURCES if pools.get("speech:" + p, split)]
    weights = np.array([SPEECH_SOURCES[p][1] for p in natural])
    weights /= weights.sum()
    while t < n - RATE // 2:
        x, path, synthetic = None, None, False
        if rng.uniform() < 0.4 and pools.get("speech-synthetic", split):
            files = pools.get("speech-synthetic", split)
            path = files[int(rng.integers(len(files)))]
            x = trim(pools.load(path)[:, 0])
            m = min(len(x), n - t)
            synthetic = budget["synthetic"] + m <= SYNTHETIC_SHARE * (budget["all"] + m)
        if not synthetic:
            files = pools.get("speech:" + natural[int(rng.choice(len(natural), p=weights))], split)
            path = files[int(rng.integers(len(files)))]
            x = trim(pools.load(path)[:, 0])
        if len(x) < RATE // 10:
            continue
        x = x / (np.sqrt(np.mean(x ** 2)) + 1e-9) * 10 ** (float(rng.uniform(-4, 4)) / 20)
        m = min(len(x), n - t)
        speech[t:t + m] += x[:m]
        budget["all"] += m
        if synthetic:
            synthetic_samples += m
            budget["synthetic"] += m
        names.append(os.path.basename(path))
        t += m + int(rng.uniform(0.15, 1.2) * RATE)
    return speech, names, synthetic_samples


def make_mix(args):
    data, seed, index, split, pools, budget = args
    out = os.path.join(data, "mixes", "%s-%04d" % (split, index))
    rng = np.random.default_rng([seed, index, 0 if split == "train" else 1])
    n = int(MIX_SECONDS * RATE)
    r = rng.uniform()
    kind = "both" if r >= 0.13 else ("background-only" if r < 0.08 else "speech-only")

    speech_names, background_names, synthetic = [], [], 0
    pan, reverb = 0.0, False
    speech = np.zeros((n, 2), np.float32)
    if kind != "background-only":
        mono, speech_names, synthetic = make_speech(rng, pools, split, n, budget)
        # Near centre: a pan position within +-0.25 of the way to a side, constant power.
        pan = float(np.clip(rng.normal(0.0, 0.08), -0.25, 0.25))
        angle = (pan + 1.0) * math.pi / 4
        speech = np.stack([mono * math.cos(angle), mono * math.sin(angle)], axis=1)
        if rng.uniform() < 0.35:
            reverb = True
            speech = speech + stereo_reverb(rng, mono)
    background = np.zeros((n, 2), np.float32)
    bkind = "-"
    if kind != "speech-only":
        bkind, background, background_names = make_background(rng, pools, split, n)

    # The ratio is set on the mid signal (L + R) / 2, over the whole mix.
    sbr = float(rng.uniform(-10.0, 20.0))
    if kind == "both":
        ps = np.mean(speech.mean(axis=1) ** 2)
        pb = np.mean(background.mean(axis=1) ** 2) + 1e-12
        background = background * math.sqrt(ps / pb / 10 ** (sbr / 10))
    else:
        sbr = float("inf") if kind == "speech-only" else float("-inf")

    mix = speech + background
    gain = 10 ** (float(rng.uniform(-36.0, -14.0)) / 20) / (np.sqrt(np.mean(mix ** 2)) + 1e-12)
    peak = np.max(np.abs(mix)) * gain
    if peak > 0.95:
        gain *= 0.95 / peak
    # Stems in float, with 4096 samples of silence after them so the framing flushes.
    pad = np.zeros((4096, 2), np.float32)
    wavfile.write(out + "-speech.wav", RATE, np.concatenate([speech * gain, pad]).astype(np.float32))
    wavfile.write(out + "-background.wav", RATE, np.concatenate([background * gain, pad]).astype(np.float32))
    return "\t".join([os.path.basename(out), split, kind, "%.2f" % sbr, bkind, "%.3f" % pan, "1" if reverb else "0",
                      "%.3f" % (synthetic / RATE), ",".join(speech_names), ",".join(background_names)])


def make_mixes(data, seed, counts):
    pools = Pools(data, os.path.join(data, "manifest.tsv"))
    os.makedirs(os.path.join(data, "mixes"), exist_ok=True)
    lines = []
    budget = {"all": 0, "synthetic": 0}  # speech placed so far, over all mixes in order
    for split, count in counts:
        for i in range(count):
            lines.append(make_mix((data, seed, i, split, pools, budget)))
            if i % 100 == 99:
                log("%s mixes: %d" % (split, i + 1))
    with open(os.path.join(data, "mixes.tsv"), "w") as f:
        f.write("mix\tsplit\tkind\tsbr_db\tbackground\tpan\treverb\tsynthetic_s\tspeech_files\tbackground_files\n")
        f.write("\n".join(lines) + "\n")
    log("mixes: %d; speech %.0f s, of it synthetic %.0f s (%.1f %%)" % (len(lines), budget["all"] / RATE, budget["synthetic"] / RATE,
                                                                     100.0 * budget["synthetic"] / max(budget["all"], 1)))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--data", required=True)
    parser.add_argument("--seed", type=int, default=5)
    parser.add_argument("--train-mixes", type=int, default=800)
    parser.add_argument("--val-mixes", type=int, default=160)
    parser.add_argument("--tts-per-engine", type=int, default=60)
    parser.add_argument("--excerpt", type=float, default=60.0)
    parser.add_argument("--step", choices=["all", "sources", "mixes"], default="all")
    args = parser.parse_args()

    data = os.path.abspath(args.data)
    pool = os.path.join(data, "pool")
    manifest_path = os.path.join(data, "manifest.tsv")
    if args.step in ("all", "sources") and not os.path.exists(manifest_path):
        rng = np.random.default_rng(args.seed)
        manifest = Manifest()
        natural_speech(data, rng, manifest, pool)
        synthetic_speech(data, rng, manifest, pool, args.tts_per_engine)
        music(data, rng, manifest, pool, args.excerpt)
        manifest.write(manifest_path + ".part")
        os.replace(manifest_path + ".part", manifest_path)
        log("manifest: %d rows" % len(manifest.rows))
    if args.step in ("all", "mixes"):
        make_mixes(data, args.seed, [("train", args.train_mixes), ("val", args.val_mixes)])


if __name__ == "__main__":
    sys.exit(main())
