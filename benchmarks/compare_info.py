#!/usr/bin/env python3
"""What quorv info and others tell of the same files, and what 200 files cost: the tables of docs/tool.md.

usage: compare_info.py QUORV [FOLDER]    FOLDER holds files of cameras and encoders; without it ASF has no rows

Every program is run as it is, without options; mpg123 with -t, as it would play otherwise, and quorv twice where
it is about damage: info, and frames, which reads the media. Needs lame, mediainfo, mpg123, gst-discoverer-1.0 and
soxi with its MP3 format.
"""
import pathlib
import re
import resource
import subprocess
import sys
import tempfile

PROGRAMS = ["quorv", "mediainfo", "mpg123", "gst-discoverer", "soxi"]
# A feature, the file, and what shows that a program tells it.
CONTENT = [
    ("AVI: video codec by name", "avi", r"H\.264|AVC"),
    ("AVI: tags of the codecs", "avi", r"\bH264\b[\s\S]*\b(0x00)?55\b"),
    ("AVI: profile and level", "avi", r"Main(, level |@L)1\.3"),
    ("AVI: display aspect", "avi", r"\b4:3\b"),
    ("AVI: progressive or interlaced", "avi", r"(?i)progressive|interlaced: false"),
    ("AVI: entropy coding and reference frames", "avi", r"CABAC[\s\S]*4 (Ref|ref)"),
    ("AVI: chroma subsampling and bit depth", "avi", r"4:2:0[\s\S]*8 bits"),
    ("AVI: colours", "avi", r"BT\.601"),
    ("AVI: bit rate of video", "avi", r"20\.5 kb/s|21 kbit/s"),
    ("AVI: size of each track", "avi", r"(7\.52 KiB|7\.7 kB)[\s\S]*(47\.3 KiB|48\.5 kB)"),
    ("AVI: sound's version, layer and mode", "avi", r"(?i)(version 1|mpeg-1) ?[\s\S]*layer (3|III)[\s\S]*joint stereo"),
    ("AVI: constant or variable rate of sound", "avi", r"(?i)constant"),
    ("AVI: encoder of sound", "avi", r"LAME3\.100"),
    ("AVI: encoder of video", "avi", r"core 164"),
    ("AVI: INFO texts", "avi", r"(?i)(software|application) +:? *x264"),
    ("AVI: alignment and lead of interleaved sound", "avi", r"(?i)preload|aligned chunks of 26 ms[\s\S]*522 ms in front"),
    ("MP3: version, layer and mode", "mp3", r"(?i)joint stereo|j-s"),
    ("MP3: constant or variable rate", "mp3", r"(?i)variable|vbr"),
    ("MP3: mean bit rate", "mp3", r"35(\.2)? ?k"),
    ("MP3: length without the encoder's padding", "mp3", r"00:00:05\.00|0:00:05\.000\b|5 s 0 ms"),
    ("MP3: exact number of samples", "mp3", r"220500"),
    ("MP3: samples added by the encoder", "mp3", r"\b1105\b"),
    ("MP3: encoder", "mp3", r"LAME ?3\.100"),
    ("MP3: encoder's settings", "mp3", r"17\.5|17500"),
    ("MP3: title, artist, genre", "mp3", r"Ärtist[\s\S]*Rock"),
    ("MP3: picture", "mp3", r"(?i)cover|picture|image/|front"),
    ("MP3: a second ID3v2 tag", "two tags", r"Second album"),
    ("MP3: length of two joined files", "joined", r"\b10[.s]|0:10"),
    ("MP3: bit rate with 100 MB of zeros behind", "zeros", r"\b128 ?k"),
    ("ASF: sound codec by name and number", "s1.wma", r"Windows Media Audio[\s\S]*|161"),
    ("ASF: encoder's description of the codec", "s1.wma", r"2-pass CBR"),
    ("ASF: constant or variable rate", "s2.wma", r"(?i)variable"),
    ("ASF: title", "s1.wma", r"\btest\b"),
    ("ASF: language", "s1.wma", r"English|\ben-us\b"),
    ("ASF: date of encoding", "s1.wma", r"2006"),
    ("ASF: exact frame rate", "s960.asf", r"29\.97|30000/1001"),
    ("ASF: name of an old video codec", "s960.asf", r"MPEG-4 draft|MPEG-4 v3"),
    ("ASF: display aspect", "s960.asf", r"16:9"),
]
COMPLAINT = r"(?i)truncat|cut short|damag|error|warning|missing|cannot|conformance|not enough|premature|lost|skipp|belong to no|ends in|resync"
DAMAGE = [
    ("an AVI file cut short", "cut avi"),
    ("an AVI chunk header zeroed", "hole avi"),
    ("an MP3 file cut short, whose header tells its length", "cut mp3"),
    ("300 bytes of an MP3 file overwritten", "hole mp3"),
    ("100 MB of zeros behind an MP3 file", "zeros"),
]


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, **options).stdout.decode("utf-8", "replace")


def make_files(folder, sample):
    """Writes the files by name."""
    names = {}

    def put(name, data):
        path = folder / (name.replace(" ", "-") + (".avi" if "avi" in name else ".mp3"))
        path.write_bytes(data)
        names[name] = path
        return path

    wav = folder / "tone.wav"
    run(["sox", "-n", "-r", "44100", "-c", "2", wav, "synth", "5", "sine", "440"])
    picture = folder / "cover.png"
    picture.write_bytes(b"\x89PNG\r\n\x1a\n" + bytes(100))

    def lame(*options):
        out = folder / "lame.mp3"
        run(["lame", "--quiet", *options, wav, out])
        return out.read_bytes()

    plain = lame("-b", "128")
    tagged = lame("-V", "4", "--tt", "Title", "--ta", "Ärtist", "--tl", "Album", "--ty", "2001", "--tg", "17", "--ti", picture)
    put("mp3", tagged)
    second = b"TALB\0\0\0\x0d\0\0\0Second album"
    put("two tags", b"ID3\3\0\0\0\0\0\x19" + b"TIT2\0\0\0\x0f\0\0\0Title in front" + b"ID3\3\0\0\0\0\0\x17" + second + plain)
    put("joined", plain + lame("-b", "128"))
    put("zeros", plain + bytes(100 << 20))
    put("cut mp3", plain[:len(plain) // 2])
    put("hole mp3", plain[:40000] + bytes(300) + plain[40300:])
    avi = sample.read_bytes()
    put("avi", avi)
    put("cut avi", avi[:len(avi) // 2])
    at = avi.index(b"01wb", len(avi) // 2)
    put("hole avi", avi[:at] + bytes(8) + avi[at + 8:])
    return names


def outputs(quorv, path, reads):
    texts = {
        "quorv": run([quorv, "info", path]) + (run([quorv, "frames", path]) if reads else ""),
        "mediainfo": run(["mediainfo", path]),
        "gst-discoverer": run(["gst-discoverer-1.0", path]),
    }
    if path.suffix == ".mp3":
        texts["mpg123"] = run(["mpg123", "-t", path], stdin=subprocess.DEVNULL)
        texts["soxi"] = run(["soxi", path])
    return {program: text.replace(str(path.parent), "").replace("Missing plugins", "") for program, text in texts.items()}


def print_table(title, rows):
    print(f"| {title} | " + " | ".join(PROGRAMS) + " |\n| --- |" + " --- |" * len(PROGRAMS))
    for name, cells in rows:
        print(f"| {name} | " + " | ".join(cells.get(program, "-") for program in PROGRAMS) + " |")
    print()


def cpu_time(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    run(command)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def main():
    quorv = pathlib.Path(sys.argv[1]).resolve()
    real = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    sample = pathlib.Path(__file__).resolve().parent.parent / "samples" / "h264-mp3.avi"
    with tempfile.TemporaryDirectory() as work:
        files = make_files(pathlib.Path(work), sample)
        if real is not None:
            files.update({path.name: path for path in real.iterdir()})
        told = []
        for feature, name, pattern in CONTENT:
            if name in files:
                texts = outputs(quorv, files[name], False)
                told.append((feature, {p: "yes" if re.search(pattern, text) else "no" for p, text in texts.items()}))
        print_table("told of a whole file", told)
        told = []
        for damage, name in DAMAGE:
            texts = outputs(quorv, files[name], True)
            told.append((damage, {p: "said" if re.search(COMPLAINT, text) else "no" for p, text in texts.items()}))
        print_table("said of damage", told)
        many = [files[name] for name in ("avi", "mp3", "joined", "cut mp3")] * 50
        ratios = sorted(cpu_time([quorv, "info", *many]) / cpu_time(["mediainfo", *many]) for _ in range(5))
        print(f"200 files in one call: {ratios[2]:.2f} of mediainfo's CPU time")


main()
