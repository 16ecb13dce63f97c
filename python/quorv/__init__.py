"""Media files: their tracks, their packets in the order of time, seeking, damage, decoded sound.

    with quorv.open("holiday.avi") as media:
        for packet in media:
            print(media.tracks[packet.track].codec_name, packet.time_us, len(packet.data))
"""
from quorv.decoder import Decoder, Samples, SkippedFrames
from quorv.errors import Error, NotHereYet, Result
from quorv.media import Media, Packet, open  # noqa: A004  as in gzip and wave
from quorv.records import (Container, Damage, DamageCount, File, Framing, RateKind, SampleFormat, Scan, Survey, Track,
                           TrackType)
from quorv._library import version

__all__ = ["Container", "Damage", "DamageCount", "Decoder", "Error", "File", "Framing", "Media", "NotHereYet",
           "Packet", "RateKind", "Result", "SampleFormat", "Samples", "Scan", "SkippedFrames", "Survey", "Track",
           "TrackType", "open", "version"]
