"""The Python package against the command-line tool and its own words, on whole files.

QUORV_TOOL names the tool, QUORV_SOURCE the project, QUORV_REAL, where it is set, a folder of further files.
"""
import errno
import hashlib
import io
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
from fractions import Fraction

import quorv

TOOL = os.environ["QUORV_TOOL"]
SOURCE = pathlib.Path(os.environ["QUORV_SOURCE"])
SAMPLE = SOURCE / "samples/h264-mp3.avi"
REAL = os.environ.get("QUORV_REAL")
SAMPLES = [SAMPLE, SOURCE / "fuzz/corpus/asf_splitter/bare", *(sorted(pathlib.Path(REAL).glob("*.[aw]*")) if REAL else [])]


def tool(*arguments):
    """What the tool prints, of a file that may be damaged."""
    done = subprocess.run([TOOL, *arguments], capture_output=True)
    assert done.returncode in (0, 1), done.stderr
    return done.stdout


def digest(packet):
    return len(packet.data), hashlib.md5(packet.data).hexdigest()


class Arriving(io.BytesIO):
    """A file of which more is here each time that something was missing."""
    here = 0

    def read(self, size=-1):
        if self.tell() + size > self.here and self.here < len(self.getbuffer()):
            self.here += 4096
            return None
        return super().read(size)


def patiently(call):
    while True:
        try:
            return call()
        except quorv.NotHereYet:
            pass


class PacketsTest(unittest.TestCase):
    def test_are_the_tools(self):
        for path in SAMPLES:
            lines = [json.loads(line) for line in tool("frames", "--json", "--md5", str(path)).splitlines()]
            with self.subTest(path.name), quorv.open(path) as media:
                packets = [(track.number, *digest(packet), packet.time_us // 1000)
                           for track in media.tracks if track.type in (quorv.TrackType.VIDEO, quorv.TrackType.AUDIO)
                           for packet in media.packets(track.index)]
                self.assertEqual(packets, [(line["track"], line["size"], line["md5"], line["pts_ms"]) for line in lines])
                self.assertTrue(packets)

    def test_of_an_mpeg_audio_file_are_all_of_it(self):
        with quorv.open(SAMPLE) as media:
            sound = b"".join(packet.data for packet in media.packets(1))
        with quorv.open(sound) as media:
            self.assertEqual(media.file.container, quorv.Container.MPEG_AUDIO)
            packets = list(media)
        self.assertEqual(b"".join(packet.data for packet in packets), sound)
        self.assertEqual(len(packets), 116)

    def test_come_in_the_order_of_time(self):
        with quorv.open(SAMPLE) as media:
            packets = list(media)
        self.assertEqual([(packet.time_us, packet.track) for packet in packets],
                         sorted((packet.time_us, packet.track) for packet in packets))
        self.assertEqual({packet.track for packet in packets}, {0, 1})

    def test_are_the_same_from_every_source(self):
        content = SAMPLE.read_bytes()
        with quorv.open(SAMPLE) as media:
            expected = list(media)
        with open(SAMPLE, "rb") as file:
            for source in (str(SAMPLE), content, bytearray(content), file, Arriving(content)):
                with self.subTest(type(source)), patiently(lambda: quorv.open(source)) as media:
                    packets = []
                    while (packet := patiently(media.read)) is not None:
                        packets.append(packet)
                    self.assertEqual(packets, expected)

    def test_selected_tracks_only(self):
        with quorv.open(SAMPLE) as media:
            media.select(0, False)
            self.assertEqual({packet.track for packet in media}, {1})


class MediaTest(unittest.TestCase):
    def test_tracks(self):
        with quorv.open(SAMPLE) as media:
            video, audio = media.tracks
            self.assertEqual(media.file.container, quorv.Container.AVI)
            self.assertEqual(media.file.size, SAMPLE.stat().st_size)
        self.assertEqual((video.codec, video.codec_name, video.framing), ("264 ", "H.264", quorv.Framing.ANNEX_B))
        self.assertEqual((video.width, video.height, video.frame_rate), (320, 240, Fraction(25)))
        self.assertEqual(len(video.codec_data), 686)
        self.assertEqual((audio.codec, audio.sample_rate, audio.channels), ("mp3 ", 44100, 2))
        self.assertIsNone(audio.frame_rate)
        self.assertRegex(video.profile, "level")
        self.assertRegex(video.coding, "4:2:0, 8 bits")
        self.assertEqual((video.scan, video.pixel_aspect), (quorv.Scan.PROGRESSIVE, Fraction(1)))
        self.assertEqual((audio.stated_end, audio.rate_kind), (None, quorv.RateKind.CONSTANT))

    def test_survey_counts_what_is_read(self):
        with quorv.open(SAMPLE) as media:
            sizes = [len(packet.data) for packet in media.packets(1)]
            self.assertEqual(media.survey(1), quorv.Survey(len(sizes), sum(sizes), min(sizes), max(sizes)))

    def test_readme(self):
        code = re.search(r"^```python\n(.*?)^```$", (SOURCE / "README.md").read_text(), re.S | re.M)[1]
        done = subprocess.run([sys.executable, "-c", code], cwd=SOURCE, check=True, capture_output=True, text=True)
        with quorv.open(SAMPLE) as media:
            lines = [f"{media.tracks[packet.track].codec_name} {packet.time_us} {len(packet.data)}" for packet in media]
        self.assertEqual(done.stdout.splitlines(), lines)

    def test_seeks_to_a_key_frame(self):
        with quorv.open(SAMPLE) as media:
            keys = [packet.time_us for packet in media.packets(0) if packet.key]
            self.assertEqual(media.seek(keys[1] + 1), keys[1])
            first = next(packet for packet in media if packet.track == 0)
            self.assertEqual((first.time_us, first.key), (keys[1], True))
            self.assertEqual(media.seek(1, after=True), keys[1])

    def test_damage(self):
        content = SAMPLE.read_bytes()
        middle = len(content) // 2
        with quorv.open(content) as media:
            list(media)
            self.assertEqual(media.damage(), quorv.Damage(*[quorv.DamageCount(0, None)] * 4, False, 0))
        with quorv.open(content[:middle]) as media:
            list(media)
            damage = media.damage()
        self.assertTrue(damage.cut_off)
        self.assertEqual(damage.bytes_missing, len(content) - middle)

    def test_decodes_what_the_tool_decodes(self):
        with tempfile.TemporaryDirectory() as folder:
            wav = pathlib.Path(folder, "out.wav")
            tool("decode", str(SAMPLE), "-o", str(wav))
            expected = wav.read_bytes()[44:]
        with quorv.open(SAMPLE) as media, media.decoder(1) as decoder:
            portions = [portion for packet in media.packets(1) for portion in decoder.decode(packet.data)]
            portions += decoder.finish()
            self.assertEqual(decoder.skipped().total, 0)
        self.assertEqual(b"".join(portion.samples.tobytes() for portion in portions), expected)
        self.assertEqual([portion.format_changed for portion in portions], [True] + [False] * (len(portions) - 1))
        self.assertEqual({(portion.sample_rate, portion.channels) for portion in portions}, {(44100, 2)})


class FailureTest(unittest.TestCase):
    def fails(self, result, call, *arguments, **named):
        with self.assertRaises(quorv.Error) as caught:
            call(*arguments, **named)
        self.assertEqual(caught.exception.result, result)
        return caught.exception

    def test_results_become_exceptions(self):
        self.fails(quorv.Result.ERR_NOT_MEDIA, quorv.open, __file__)
        self.fails(quorv.Result.ERR_NOT_MEDIA, quorv.open, io.BytesIO(b"nothing" * 1000))
        missing = self.fails(quorv.Result.ERR_SOURCE, quorv.open, SAMPLE / "missing")
        self.assertEqual(missing.code, errno.ENOTDIR)
        self.assertIn(os.strerror(errno.ENOTDIR), str(missing))

    def test_wrong_use(self):
        media = quorv.open(SAMPLE)
        self.fails(quorv.Result.ERR_ARGUMENT, media.read, 2)
        self.fails(quorv.Result.ERR_ARGUMENT, media.damage, 2)
        self.fails(quorv.Result.ERR_ARGUMENT, media.survey, 2)
        self.fails(quorv.Result.ERR_ARGUMENT, media.decoder, 2)
        self.fails(quorv.Result.ERR_UNSUPPORTED, media.decoder, 0)
        packet = media.read()
        media.close()
        media.close()
        self.fails(quorv.Result.ERR_ARGUMENT, media.read)
        self.assertGreater(sum(packet.data), 0)
        decoder = quorv.Decoder()
        decoder.close()
        self.fails(quorv.Result.ERR_ARGUMENT, decoder.decode, b"x")
        self.fails(quorv.Result.ERR_ARGUMENT, decoder.skipped)
        with self.assertRaises(TypeError):
            quorv.open(None)

    def test_exceptions_of_a_file_object_come_through(self):
        class Broken(io.BytesIO):
            works = True

            def read(self, size=-1):
                if not self.works:
                    raise ZeroDivisionError
                return super().read(size)

        file = Broken(SAMPLE.read_bytes())
        with quorv.open(file) as media:
            media.read()
            file.works = False
            with self.assertRaises(ZeroDivisionError):
                list(media)
            file.works = True
            self.assertGreater(len(list(media)), 100)


if __name__ == "__main__":
    unittest.main()
