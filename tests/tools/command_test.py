"""Runs the built command: command_test.py QZIL SOURCE_ROOT. Needs nothing but Python itself."""

import json
import os
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import zlib

QZIL, ROOT = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve()
SAMPLES = ROOT / "samples"
OK, DIFFERENT, USAGE, UNREADABLE, REFUSED, UNWRITABLE, INTERRUPTED = 0, 1, 2, 3, 4, 5, 130
WIDTH, HEIGHT = 24, 17  # odd height: a field mistaken for the other one shows


def write_png(path, width, height, pixel):
    """An 8-bit RGBA picture of pixel(x, y), or a grey one when it gives numbers."""
    grey = isinstance(pixel(0, 0), int)
    rows = b"".join(b"\0" + b"".join(bytes([pixel(x, y)] if grey else pixel(x, y)) for x in range(width))
                    for y in range(height))

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 0 if grey else 6, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) +
                     chunk(b"IEND", b""))


def picture(x, y):
    return (x * 10, y * 15, (x * 7 + y * 3) % 256, 255)


class Command(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.a = self.draw("a.png", picture)
        self.out = self.folder / "out.png"

    def draw(self, name, pixel, width=WIDTH, height=HEIGHT):
        write_png(self.folder / name, width, height, pixel)
        return self.folder / name

    def qzil(self, *arguments, code=OK):
        done = subprocess.run([QZIL, *map(str, arguments)], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.returncode, code, f"{arguments}\n{done.stdout}{done.stderr}")
        return done.stderr if code not in (OK, DIFFERENT) else done.stdout

    def refused(self, sentence, *arguments, code=USAGE):
        """Fails with this sentence, and without a file that was not there before."""
        before = sorted(self.folder.rglob("*"))
        self.assertEqual(self.qzil(*arguments, code=code), f"qzil: {sentence}\n")
        self.assertEqual(sorted(self.folder.rglob("*")), before)

    def run_effect(self, *arguments):
        self.qzil("run", *arguments, "-o", self.out)
        return self.out

    def expect(self, path, pixel, width=WIDTH, height=HEIGHT, most=0):
        """The picture's pixels are pixel(x, y)."""
        wanted = self.draw("wanted.png", pixel, width, height)
        self.qzil("diff", path, wanted, "--max", most)


class Describing(Command):
    def test_list_names_what_describe_describes(self):
        names = re.findall(r"^  (\S+) ", self.qzil("list"), re.MULTILINE)
        self.assertIn("blend", names)
        for name in names:
            text = self.qzil("describe", name)
            self.assertTrue(text.startswith(name + " - "), text)
            if " ->\n" in text:
                self.refused(f"{name}: this is a conversion; qzil convert runs those.", "run", name, self.a)
                continue
            self.assertIn("* MFIF_RGBA_RAW_32\n", text)
            self.assertIn("--roi", self.qzil("run", name, "--help"))
        self.refused("there is no effect 'blnd'; qzil list names all effects.", "describe", "blnd")

    def test_help_tells_every_exit_code(self):
        text = self.qzil("--help")
        for code in (OK, DIFFERENT, USAGE, UNREADABLE, REFUSED, UNWRITABLE, INTERRUPTED):
            self.assertRegex(text, rf"(?m)^  {code}  ")

    def test_info(self):
        self.assertEqual(self.qzil("info", self.a), f"{self.a}: 24 x 17 pixels, RGBA, 8 bits\n")
        grey = self.draw("g.png", lambda x, y: 3)
        self.assertEqual(self.qzil("info", grey), f"{grey}: 24 x 17 pixels, grey, 8 bits\n")


class Documents(Command):
    def test_the_examples_of_the_page_run(self):
        blocks = re.findall(r"```sh\n(.*?)```", (ROOT / "docs" / "command.md").read_text(), re.DOTALL)
        self.assertGreater(len(blocks), 4)
        (self.folder / "samples").symlink_to(SAMPLES)
        environment = dict(os.environ, PATH=os.path.dirname(QZIL) + ":" + os.environ["PATH"])
        for line in "".join(blocks).replace("\\\n", "").splitlines():
            if line.startswith("qzil "):
                done = subprocess.run(line, shell=True, cwd=self.folder, env=environment, capture_output=True,
                                      text=True)
                self.assertEqual(done.returncode, OK, f"{line}\n{done.stderr}")

    # Minutes of large frames with sanitizers, through code that the small frames below go through, too.
    @unittest.skipIf(os.environ.get("QZIL_SANITIZED"), "large frames")
    def test_demo(self):
        done = subprocess.run([ROOT / "tools" / "demo.sh", QZIL, self.folder / "demo"], capture_output=True, text=True)
        self.assertEqual(done.returncode, OK, done.stderr)
        for line in done.stdout.splitlines():
            if not line.startswith("no ffmpeg") and not line.endswith(".mp4"):
                self.assertIn(" pixels, ", self.qzil("info", line.split()[0]))
        for clip, size in (("sd", "720 x 576 pixels, 4:2:2, 8 bits, video range, interlaced, top field first"),
                           ("hd", "1920 x 1080 pixels, 4:2:2, 8 bits, video range, progressive")):
            text = self.qzil("info", self.folder / "demo" / f"dissolve-{clip}.y4m")
            self.assertIn(size, text)
            self.assertIn(" 25 frames\n", text)
        self.assertTrue(done.stdout.endswith("contact-sheet.png\n"))


class Comparing(Command):
    def test_diff_finds_the_first_place(self):
        b = self.draw("b.png", lambda x, y: (picture(x, y)[0], picture(x, y)[1] + (4 if (x, y) == (5, 6) else 0),
                                             picture(x, y)[2], 251 if (x, y) == (7, 8) else 255))
        text = self.qzil("diff", self.a, b, code=DIFFERENT)
        self.assertRegex(text, r"(?m)^red +0 +0$")
        self.assertRegex(text, r"(?m)^green +4 +0\.00980392$")  # 4 / 408 pixels
        self.assertIn("first difference at 5,6 from the top left: green 90 and 94\n", text)
        self.qzil("diff", self.a, b, "--max", 3.9, code=DIFFERENT)
        self.qzil("diff", self.a, b, "--max", 4)
        self.qzil("diff", self.a, self.a)
        self.qzil("diff", self.a, self.draw("c.png", picture, WIDTH - 1), code=DIFFERENT)
        self.qzil("diff", self.a, b, "--max", -1, code=USAGE)

    def test_hash_is_of_the_pixels(self):
        wide = self.folder / "a.tif"
        self.qzil("run", "copy", self.a, "-o", wide)
        first = self.qzil("hash", self.a)
        self.assertRegex(first, r"^[0-9a-f]{16}\n$")
        self.assertEqual(self.qzil("hash", wide), first)
        other = self.draw("b.png", lambda x, y: (*picture(x, y)[:3], 255 - (x == 23 and y == 16)))
        self.assertNotEqual(self.qzil("hash", other), first)
        # Frozen: a hash that a user has kept must stay true.
        self.assertEqual(self.qzil("hash", self.draw("one.png", lambda x, y: 77, 1, 1)), "61215c78076a6d03\n")


class Formats(Command):
    def test_grey_stays_grey(self):
        grey = self.draw("g.png", lambda x, y: x * 10 + y)
        self.assertIn(", grey, 8 bits", self.qzil("info", self.run_effect("invert", grey)))
        self.expect(self.out, lambda x, y: 255 - x * 10 - y)
        self.assertIn(", RGBA, 8 bits", self.qzil("info", self.run_effect("blend", grey, self.a)))

    def test_levels_give_equal_pictures(self):
        other = self.folder / "baseline.png"
        inputs = [SAMPLES / "cliff.png", SAMPLES / "tulips.png"]
        self.qzil("run", "blend", *inputs, "--cpu", "baseline", "-o", other)
        self.qzil("diff", self.run_effect("blend", *inputs), other)


class Regions(Command):
    """Coordinates count from the top left of the shown picture."""

    def inverted_where(self, inside):
        def pixel(x, y):
            r, g, b, a = picture(x, y)
            return (255 - r, 255 - g, 255 - b, a) if inside(x, y) else (r, g, b, a)
        return pixel

    def test_roi_stays_in_place(self):
        self.run_effect("invert", self.a, "--roi", "3,2,10,5")
        self.expect(self.out, self.inverted_where(lambda x, y: 3 <= x < 13 and 2 <= y < 7))

    def test_crop_and_shift(self):
        self.run_effect("copy", self.a, "--roi", "3,2,10,5", "--size", "10,5")
        self.expect(self.out, lambda x, y: picture(x + 3, y + 2), 10, 5)
        self.run_effect("copy", self.a, "--offset", "4,3")
        self.expect(self.out, lambda x, y: picture(x - 4, y - 3) if x >= 4 and y >= 3 else picture(x, y))
        self.run_effect("copy", self.a, "--roi", "3,2,10,5", "--offset", "1,9")
        self.expect(self.out, lambda x, y: picture(x + 2, y - 7) if 1 <= x < 11 and 9 <= y < 14 else picture(x, y))

    def test_outside_the_input_is_the_background(self):
        self.run_effect("copy", self.a, "--size", "30,20", "--offset", "2,1", "--background", "#ff8000")

        def pixel(x, y):
            if x < 2 or y < 1:
                return (0, 0, 0, 0)  # outside the region
            return picture(x - 2, y - 1) if x < 26 and y < 18 else (255, 128, 0, 255)
        self.expect(self.out, pixel, 30, 20)

    def test_an_effects_own_background(self):
        self.run_effect("over-color", self.a, "--roi", "-2,0,10,4", "--offset", "0,0", "--background", "0,0,1",
                        "--opacity", "0", "--default-color", "1,0,0,1", "--channels", "rgba")
        self.expect(self.out, lambda x, y: picture(x, y) if x >= 10 or y >= 4 else
                    (255, 0, 0, 255) if x < 2 else (0, 0, 255, 255))

    def test_masks(self):
        mask = self.draw("m.png", lambda x, y: 255 if x < 5 and y < 6 else 0)
        for name in ("RGBA_RAW_32", "RGBA_RAW_64", "RGBA_S2_14", "MFIF_RGBA_FLOAT"):
            self.run_effect("invert", self.a, "--mask", mask, "--format", name)
            self.expect(self.out, self.inverted_where(lambda x, y: x < 5 and y < 6), most=0.51)
        small = self.draw("s.png", lambda x, y: 255 if y == 0 else 0, 6, 4)
        self.run_effect("invert", self.a, "--mask", small, "--mask-rect", "7,3,6,4")
        self.expect(self.out, self.inverted_where(lambda x, y: 7 <= x < 13 and y == 3))
        self.run_effect("invert", self.a, "--mask-rect", "7,3,6,4")
        self.expect(self.out, self.inverted_where(lambda x, y: 7 <= x < 13 and 3 <= y < 7))

    def test_fields_count_from_the_top(self):
        for height in (HEIGHT, HEIGHT - 1):
            a = self.draw("f.png", picture, WIDTH, height)
            for name, parity in (("even", 0), ("odd", 1)):
                self.run_effect("invert", a, "--field", name)
                self.expect(self.out, self.inverted_where(lambda x, y: y % 2 == parity), WIDTH, height)

    def test_channels(self):
        for text, selected in (("r", "r"), ("gb", "gb"), ("a", "a"), ("9", "ra"), ("0", ""), ("rgba", "rgba")):
            self.run_effect("invert", self.a, "--channels", text)
            self.expect(self.out, lambda x, y: tuple(255 - v if c in selected else v
                                                     for v, c in zip(picture(x, y), "rgba")))

    def test_second_input(self):
        b = self.draw("b.png", lambda x, y: (y, x, 9, 255), 8, 6)
        arguments = ["blend", self.a, b, "--alpha", "1", "--input-offset", "10,4"]
        inside = lambda x, y: 10 <= x < 18 and 4 <= y < 10
        self.run_effect(*arguments)
        self.expect(self.out, lambda x, y: (y - 4, x - 10, 9, 255) if inside(x, y) else picture(x, y))
        self.run_effect(*arguments, "--dominant", "b")
        self.expect(self.out, lambda x, y: (y - 4, x - 10, 9, 255) if inside(x, y) else (0, 0, 0, 0))
        self.run_effect("blend", self.a, b, "--alpha", "1")
        self.expect(self.out, lambda x, y: (y, x, 9, 255) if x < 8 and y < 6 else picture(x, y))


class Failing(Command):
    def test_usage(self):
        run = ["run", "blend", self.a, self.a, "-o", self.out]
        takes = "but takes X,Y,W,H in whole pixels from the top left, with W and H from 1."
        self.refused("blend: --alpha is '1.5', but takes a number from 0 to 1.", *run, "--alpha", "1.5")
        for option, allowed, *texts in (
                ("--roi", takes, "1,2,3", "1,2,3,4,5", "1,2,0,4", "1,2,3,4x", "1;2,3,4", "9999999,0,1,1"),
                ("--offset", "but takes X,Y in whole pixels from the top left.", "1"),
                ("--size", "but takes W,H in whole pixels from 1 to 32768.", "0,5"),
                ("--field", "but takes odd or even.", "top"), ("--dominant", "but takes a or b.", "c"),
                ("--channels", "but takes letters of rgba, or a number from 0 to 15.", "16", "-1", "rgbx", "rgb,a")):
            for text in texts:
                self.refused(f"blend: {option} is '{text}', {allowed}", *run, option, text)
        self.refused("blend: --default-color is 'red', but takes a colour: r,g,b or r,g,b,a from 0 to 1, or #rrggbb or "
                     "#rrggbbaa.", *run, "--background", "red")
        self.refused("composite: --format is 'MONO_RAW_8', but takes one of MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64.",
                     "run", "composite", self.a, self.a, "--mask", self.a, "--format", "MONO_RAW_8", "-o", self.out)
        self.refused("composite: --mask is missing, but this effect needs a mask picture.", "run", "composite", self.a,
                     self.a, "-o", self.out)
        self.refused("blend: 1 input picture is given, but the effect takes 2 (a, b).", "run", "blend", self.a, "-o",
                     self.out)
        for arguments in ([], ["run"], ["run", "blnd"], ["frobnicate"], [*run, "--alpah", "1"], [*run, "--roi", ""],
                          [*run, "--alpha", ""], run[:-2], ["diff", self.a],
                          ["run", "copy", self.a, "--dominant", "a", "-o", self.out]):
            self.assertTrue(self.qzil(*arguments, code=USAGE).startswith("qzil: "), arguments)

    def test_unreadable(self):
        broken = self.folder / "broken.png"
        broken.write_bytes(self.a.read_bytes()[:60])
        for path in (self.folder / "missing.png", broken, self.folder):
            for arguments in (["info", path], ["hash", path], ["diff", self.a, path],
                              ["run", "invert", path, "-o", self.out],
                              ["run", "invert", self.a, "--mask", path, "-o", self.out]):
                sentence = self.qzil(*arguments, code=UNREADABLE)
                self.assertIn(str(path), sentence)
                self.assertFalse(self.out.exists())

    def test_refused(self):
        small = self.draw("s.png", lambda x, y: 255, 6, 4)
        run = ["run", "invert", self.a, "-o", self.out]
        self.refused("invert: --mask is a picture of 6 x 4 pixels, but takes the size of the first input, 24 x 17, "
                     "unless --mask-rect says where it lies.", *run, "--mask", small, code=REFUSED)
        self.refused("invert: --mask-rect is '0,0,6,5', but takes the size of the mask, 6 x 4 pixels.", *run, "--mask",
                     small, "--mask-rect", "0,0,6,5", code=REFUSED)
        self.refused("invert: --roi is '20,0,5,5', but takes a region that fits at 20,0 into the output of 24 x 17 "
                     "pixels.", *run, "--roi", "20,0,5,5", code=REFUSED)
        self.refused("invert: --offset is '-1,0', but takes a place inside the output of 24 x 17 pixels.", *run,
                     "--offset", "-1,0", code=REFUSED)

    def test_unwritable(self):
        self.out.write_text("kept")
        for path in (self.folder / "no" / "folder.png", self.folder / "out.xyz", self.folder):
            self.assertIn(str(path), self.qzil("run", "invert", self.a, "-o", path, code=UNWRITABLE))
        self.qzil("run", "blend", self.a, self.a, "--alpha", "2", "-o", self.out, code=USAGE)
        self.assertEqual(self.out.read_text(), "kept")
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["a.png", "out.png"])

    def test_interrupt_while_reading(self):
        fifo = self.folder / "in.png"
        os.mkfifo(fifo)
        command = subprocess.Popen([QZIL, "run", "invert", fifo, "-o", self.out], stderr=subprocess.PIPE, text=True)
        with open(fifo, "wb") as pipe:  # opens when the command has opened its end
            pipe.write(self.a.read_bytes()[:50])
            pipe.flush()
            time.sleep(0.2)
            command.send_signal(signal.SIGINT)
            _, error = command.communicate(timeout=20)
        self.assertEqual((command.returncode, error), (INTERRUPTED, "qzil: interrupted; nothing was written.\n"))
        self.assertFalse(self.out.exists())

    def test_interrupt_at_any_time(self):
        """The output is whole or absent, and the exit code tells which."""
        big = self.draw("big.png", lambda x, y: (x & 255, y & 255, 7, 255), 1000, 700)
        interrupted = 0
        for delay in (0.004, 0.008, 0.015, 0.03, 0.06, 0.12, 0.25, 0.5, 1):
            self.out.unlink(missing_ok=True)
            command = subprocess.Popen([QZIL, "run", "invert", big, "--format", "RGBA_FLOAT", "-o", self.out],
                                       stderr=subprocess.DEVNULL)
            timer = threading.Timer(delay, command.send_signal, [signal.SIGINT])
            timer.start()
            code = command.wait(timeout=60)
            timer.join()
            # Before the command has its handler, the signal ends it as it ends any program.
            self.assertIn(code, (OK, INTERRUPTED, -signal.SIGINT))
            self.assertEqual(self.out.exists(), code == OK)
            if code == OK:
                self.qzil("info", self.out)
            interrupted += code == INTERRUPTED
            self.assertEqual([p.name for p in self.folder.glob("*.part*")], [])
        self.assertGreater(interrupted, 0)


class Video(Command):
    """Streams of small frames whose samples tell frame, plane and place."""

    def stream(self, name, tags="W6 H4 F25:1 It A16:15 C422", frames=5, frame_bytes=48, seed=0):
        body = b"".join(b"FRAME\n" + bytes((seed + 16 + f * 31 + i * 7) % 220 for i in range(frame_bytes))
                        for f in range(frames))
        (self.folder / name).write_bytes(b"YUV4MPEG2 " + tags.encode() + b"\n" + body)
        return self.folder / name

    def setUp(self):
        super().setUp()
        self.v, self.w = self.stream("v.y4m"), self.stream("w.y4m", seed=90)
        self.video, self.no = self.folder / "out.y4m", self.folder / "no.y4m"

    def run_video(self, *arguments):
        self.qzil("run", *arguments, "-o", self.video)
        return self.video.read_bytes()

    def frames(self, data, frame_bytes=48):
        header, body = data.split(b"\n", 1)
        self.assertEqual(len(body) % (frame_bytes + 6), 0)
        return header, [body[i + 6:i + 6 + frame_bytes] for i in range(0, len(body), frame_bytes + 6)]

    def pipe(self, *arguments, data=b"", code=OK):
        done = subprocess.run([QZIL, *map(str, arguments)], input=data, capture_output=True, timeout=60)
        self.assertEqual(done.returncode, code, done.stderr)
        return done.stdout, done.stderr.decode()

    def test_layouts_come_back(self):
        for tags, size in (("W6 H4 F25:1 It A16:15 C422", 48), ("W5 H3 F30000:1001 Ib A1:1 C422", 33),
                           ("W6 H4 F0:0 I? A0:0 C422p16 XCOLORRANGE=FULL", 96), ("W5 H3 F25:1 Ip A1:1 C444 Xkept", 45),
                           ("W5 H3 F25:1 Ip A1:1 C444alpha", 60), ("W6 H4 F25:1 Im A1:1 Cmono", 24),
                           ("W5 H3 F25:1 Ip A1:1 Cmono16 XCOLORRANGE=LIMITED", 30)):
            v = self.stream("l.y4m", tags, 3, size)
            with self.subTest(tags=tags):
                # Working in float is as good as not working at all.
                for arguments in (["copy"], ["copy", "--jobs", 3], ["color-blend", "--alpha", 0]):
                    self.assertEqual(self.run_video(arguments[0], v, *arguments[1:]), v.read_bytes())

    def test_effects_see_the_picture(self):
        luma = self.frames(self.v.read_bytes())[1][1][:12]
        self.assertEqual(self.frames(self.run_video("invert", self.v, "--field", "odd"))[1][1][:12],
                         luma[:6] + bytes(251 - y for y in luma[6:]))
        # The window of a region lies where the shown picture has it.
        header, frames = self.frames(self.run_video("copy", self.v, "--roi", "2,1,4,2", "--size", "4,2"), 16)
        self.assertIn(b" W4 H2 ", header)
        whole = self.frames(self.v.read_bytes())[1][3]
        # Two lines of luma, then of each chroma.
        self.assertEqual(frames[3], whole[8:12] + whole[14:18] + whole[28:30] + whole[31:33] + whole[40:42] +
                         whole[43:45])

    def test_jobs_and_pipes_give_the_same_bytes(self):
        reference = self.run_video("blend", self.v, self.w, "--alpha", "0..1")
        header, frames = self.frames(reference)
        self.assertEqual(header, b"YUV4MPEG2 W6 H4 F25:1 It A16:15 C422")
        self.assertEqual(frames[0], self.frames(self.v.read_bytes())[1][0])
        self.assertEqual(frames[4], self.frames(self.w.read_bytes())[1][4])
        self.assertEqual(frames[2][0], round((frames_at(self.v, 2) + frames_at(self.w, 2)) / 2 + 0.01))
        for jobs in (1, 2, 7):
            out, _ = self.pipe("run", "blend", "-", self.w, "--alpha", "0..1", "--frames", 5, "--jobs", jobs, "-o", "-",
                               data=self.v.read_bytes())
            self.assertEqual(out, reference)

    def test_pictures_stand_still(self):
        a = self.draw("s.png", lambda x, y: (x * 40, y * 60, 99, 255), 6, 4)
        self.assertEqual(self.run_video("blend", self.v, a, "--alpha", 0), self.v.read_bytes())
        stills = self.frames(self.run_video("blend", self.v, a, "--alpha", 1))[1]
        self.assertEqual(len(set(stills)), 1)
        self.assertEqual(len(stills), 5)
        mask = self.draw("m.png", lambda x, y: 255 if x < 3 else 0, 6, 4)
        half = self.frames(self.run_video("blend", self.v, a, "--alpha", 1, "--mask", mask))[1]
        for frame, whole in zip(half, self.frames(self.v.read_bytes())[1]):
            self.assertEqual((frame[0], frame[5]), (stills[0][0], whole[5]))  # luma left and right
        self.assertIn(b"F30000:1001", self.run_video("blend", a, a, "--frames", 3, "--rate", "30000:1001"))
        self.assertIn("3 frames", self.qzil("info", self.video))
        self.refused("blend: --frames is missing, but a video of pictures needs their number.", "run", "blend", a, a,
                     "-o", self.no)

    def test_odd_widths(self):
        """4:2:2 is made of pairs; the column that is added on the way in never shows."""
        odd = self.draw("odd.png", lambda x, y: (200, 9 * x, 40, 255), 5, 4)
        grey = self.draw("grey.png", lambda x, y: 40 * x, 5, 4)
        for arguments in (["run", "blend", odd, odd, "--frames", 2], ["convert", odd], ["pan", odd, "--size", "5,4"],
                          ["run", "invert", self.stream("odd.y4m", "W5 H4 C422", 2, 44), "--mask", grey],
                          ["run", "blend", self.folder / "odd.y4m", odd], ["run", "invert", grey, "--frames", 2],
                          ["convert", grey], ["pan", grey, "--size", "5,4"]):
            self.qzil(*arguments, "-o", self.video)
            self.assertIn("5 x 4 pixels", self.qzil("info", self.video))
            self.qzil("convert", self.video, "-o", self.out)
            self.assertIn("5 x 4 pixels", self.qzil("info", self.out))
        self.qzil("convert", odd, "-o", self.video)
        self.qzil("convert", self.video, "-o", self.out)
        self.qzil("diff", odd, self.out, "--max", 12)
        self.qzil("convert", odd, "--format", "CbYCrY_16", "-o", self.out)
        self.qzil("diff", odd, self.out, "--max", 12)
        self.qzil("run", "invert", odd, "--format", "CbYCrY_16", "-o", self.out)
        self.qzil("run", "invert", self.out, "--format", "CbYCrY_16", "-o", self.out)
        self.qzil("diff", odd, self.out, "--max", 20)
        self.refused("copy: --size is '3,4', but takes an even width for a 4:2:2 video.", "run", "copy", self.v,
                     "--size", "3,4", "-o", self.no)

    def test_counts_are_never_short(self):
        short = self.stream("short.y4m", frames=3)
        run = ["run", "blend", self.v, short, "--progress", "off", "-o", self.no]
        self.refused(f"blend: '{short}' has 3 frames, but '{self.v}' has 5; --shortest ends with the shorter one.", *run,
                     code=UNREADABLE)
        self.refused(f"blend: '{short}' ends after 3 frames, but --frames asks for 4.", *run, "--frames", 4,
                     code=UNREADABLE)
        self.assertEqual(len(self.frames(self.run_video("blend", self.v, short, "--shortest"))[1]), 3)
        self.assertEqual(len(self.frames(self.run_video("blend", self.v, short, "--frames", 2))[1]), 2)
        empty = self.stream("empty.y4m", frames=0)
        self.refused(f"invert: '{empty}' has no frames.", "run", "invert", empty, "--progress", "off", "-o", self.no,
                     code=UNREADABLE)
        # The frames before a damaged one go into a pipe, not into a file.
        cut = self.folder / "cut.y4m"
        cut.write_bytes(self.v.read_bytes()[:-3])
        run = ["run", "invert", cut, "--progress", "off", "--jobs", 3, "-o"]
        self.assertIn("frame 5 ends early", self.qzil(*run, self.no, code=UNREADABLE))
        self.assertFalse((self.no).exists())
        out, error = self.pipe("run", "invert", "-", "--progress", "off", "--jobs", 3, "-o", "-",
                               data=cut.read_bytes(), code=UNREADABLE)
        self.assertEqual(len(self.frames(out)[1]), 4)
        self.assertEqual(error, "qzil: cannot read the standard input: frame 5 ends early, after 45 of 48 bytes\n")

    def test_usage(self):
        no = ["-o", self.no]
        self.refused("blend: '-' is given twice, but there is one standard input.", "run", "blend", "-", "-", *no)
        self.refused(f"invert: --output is '{self.out}', but a video takes a name that ends in .y4m, or -.", "run",
                     "invert", self.v, "-o", self.out)
        for option, text, allowed in (("--jobs", "0", "a whole number from 1 to 256"),
                                      ("--frames", "-1", "a whole number from 1 to 1048576"),
                                      ("--matrix", "2020", "601 or 709"),
                                      ("--rate", "25:0", "frames a second, such as 25 or 30000:1001"),
                                      ("--progress", "loud", "auto, bar, lines, json or off"),
                                      ("--alpha", "0..2", "a number from 0 to 1")):
            shown = "2" if option == "--alpha" else text
            self.refused(f"blend: {option} is '{shown}', but takes {allowed}.", "run", "blend", self.v, self.w, option,
                         text, *no)
        self.refused("blend: --alpha is a ramp, but the output is one picture; a ramp takes a .y4m output.", "run", "blend",
                     self.a, self.a, "--alpha", "0..1", "-o", self.folder / "no.png")
        self.assertIn("a ramp needs the number of frames", self.pipe(
            "run", "blend", "-", self.a, "--alpha", "0..1", "-o", "-", data=self.v.read_bytes(), code=USAGE)[1])

    def test_progress(self):
        def lines(*arguments):
            return self.pipe("run", "invert", self.v, "-o", self.video, *arguments)[1].splitlines()
        last = json.loads(lines("--progress=json")[-1])
        self.assertEqual([last[key] for key in ("effect", "frame", "frames", "done")], ["invert", 5, 5, True])
        self.assertRegex(lines()[-1], r"^invert: 5 of 5 frames, [0-9.]+ a second$")
        self.assertIn("[" + "#" * 30 + "] 5/5 frames", lines("--progress", "bar")[-1])
        self.assertEqual(lines("--progress", "off"), [])

    def test_broken_pipe(self):
        big = self.stream("big.y4m", "W640 H480 F25:1 Ip A1:1 Cmono", 20, 640 * 480)
        command = subprocess.Popen([QZIL, "run", "invert", big, "--progress", "off", "--jobs", "2", "-o", "-"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        command.stdout.read(1000)
        command.stdout.close()
        self.assertEqual(command.stderr.read(),
                         b"qzil: cannot write the standard output: its reader has closed the pipe\n")
        command.stderr.close()
        self.assertEqual(command.wait(timeout=20), UNWRITABLE)

    def test_interrupt_wakes_every_thread(self):
        fifo = self.folder / "in.y4m"
        os.mkfifo(fifo)
        for target in ("-", self.video):
            command = subprocess.Popen([QZIL, "run", "invert", fifo, "--progress", "off", "--jobs", "3", "-o", target],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            with open(fifo, "wb") as pipe:
                pipe.write(self.v.read_bytes()[:-10])
                pipe.flush()
                time.sleep(0.3)
                command.send_signal(signal.SIGINT)
                _, error = command.communicate(timeout=20)
            what = "4 frames were" if target == "-" else "nothing was"
            self.assertEqual((command.returncode, error), (INTERRUPTED, f"qzil: interrupted; {what} written.\n".encode()))
        self.assertFalse(self.video.exists())

    def test_convert(self):
        for name in ("CbYCrY_16", "MFIF_RGBA_FLOAT", "cbycra_8_4444", "HLSA_RAW_32", "CbYCrY_16_SF_TFF,RGBA_RAW_32"):
            self.qzil("convert", SAMPLES / "cliff.png", "--format", name, "-o", self.out)
            self.qzil("diff", SAMPLES / "cliff.png", self.out, "--max", 90)
        self.qzil("convert", self.a, "--frames", 3, "-o", self.video)
        self.assertIn("24 x 17 pixels, 4:2:2, 8 bits, video range, progressive, aspect 1:1, 25:1 frames a second, 3 "
                      "frames", self.qzil("info", self.video))
        self.qzil("convert", self.video, "--frame", 3, "-o", self.out)
        self.qzil("diff", self.a, self.out, "--max", 40)
        self.refused(f"convert: --frame is '4', but '{self.video}' has 3 frames.", "convert", self.video, "--frame", 4, "-o",
                     self.folder / "no.png", code=UNREADABLE)
        self.refused("convert: no conversion leads from MFIF_RGBA_RAW_32 to MFIF_GENERIC", "convert", self.a, "--format",
                     "GENERIC", "-o", self.folder / "no.png", code=REFUSED)
        self.refused("convert: --format is 'RGBB', but takes the name of a format.", "convert", self.a, "--format", "RGBB",
                     "-o", self.folder / "no.png")

    def test_pan(self):
        grey = self.draw("g.png", lambda x, y: 5 * x + y, 40, 30)
        pan = ["pan", grey, "--size", "10,10", "--from", "0,0,10", "--to", "20,10,10", "--frames", 3]
        self.qzil(*pan, "-o", self.video)
        header, frames = self.frames(self.video.read_bytes(), 100)
        self.assertIn(b" Ip A1:1 Cmono", header)
        for frame, (left, top) in zip(frames, ((0, 0), (10, 5), (20, 10))):
            self.assertEqual(frame, bytes(5 * (x + left) + y + top for y in range(10) for x in range(10)))
        # Fields lie between the frames.
        for first, other in (("top", 1), ("bottom", 0)):
            self.qzil(*pan, "--interlaced", first, "-o", self.video)
            header, fields = self.frames(self.video.read_bytes(), 100)
            self.assertIn(f" I{first[0]} ".encode(), header)
            self.assertEqual(fields[1][10 * (1 - other)], frames[1][10 * (1 - other)])
            self.assertTrue(frames[1][10 * other] < fields[1][10 * other] < frames[2][10 * other])
        self.assertIn("pan: --to takes X,Y,W", self.qzil("pan", grey, "--to", "35,0,10", "-o", self.video, code=USAGE))


def frames_at(path, frame):
    """The first luma sample of a frame of a stream of Video."""
    return path.read_bytes().split(b"\n", 1)[1][frame * 54 + 6]


@unittest.skipUnless(shutil.which("ffmpeg"), "there is no ffmpeg")
class OtherPrograms(Command):
    def ffmpeg(self, *arguments, data=None):
        done = subprocess.run(["ffmpeg", "-nostdin" if data is None else "-y", "-hide_banner", *map(str, arguments)],
                              input=data, capture_output=True, timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        return done

    def test_streams_pass_through_pipes(self):
        for pixels in ("yuv422p", "yuv422p10le", "yuv444p", "gray"):
            y4m = self.ffmpeg("-f", "lavfi", "-i", "testsrc2=s=98x54:r=25", "-frames:v", 4, "-pix_fmt", pixels, "-strict",
                              -1, "-f", "yuv4mpegpipe", "-").stdout
            done = subprocess.run([QZIL, "run", "copy", "-", "-o", "-", "--jobs", "2"], input=y4m, capture_output=True,
                                  timeout=60)
            back = self.ffmpeg("-i", "-", "-pix_fmt", pixels, "-f", "rawvideo", "-", data=done.stdout).stdout
            self.assertEqual(back, self.ffmpeg("-i", "-", "-pix_fmt", pixels, "-f", "rawvideo", "-", data=y4m).stdout)

    def test_video_of_a_photograph_is_that_of_another_converter(self):
        # Both round luma once: they differ by 1 where a sum lies near a half. The other chroma is made at every pixel,
        # rounded, and filtered here; ours is filtered first and rounded twice: 2 at the most.
        photograph, side = SAMPLES / "cliff.png", 500
        scale = "scale=out_color_matrix=bt709:out_range=tv:flags=accurate_rnd+full_chroma_int+full_chroma_inp"
        theirs = self.ffmpeg("-i", photograph, "-vf", scale + ":sws_dither=none,format=yuv444p", "-f", "rawvideo",
                             "-").stdout
        done = subprocess.run([QZIL, "convert", photograph, "--format", "CbYCrY709_16", "-o", "-"],
                              capture_output=True, timeout=60)
        ours = self.ffmpeg("-i", "-", "-pix_fmt", "yuv422p", "-f", "rawvideo", "-", data=done.stdout).stdout
        pixels = side * side
        self.assertLessEqual(max(abs(a - b) for a, b in zip(ours[:pixels], theirs[:pixels])), 1)
        for plane in (0, 1):
            chroma = ours[pixels + plane * pixels // 2:]
            full = theirs[pixels * (1 + plane):pixels * (2 + plane)]
            for y in range(0, side, 7):
                row = full[y * side:(y + 1) * side]
                padded = [row[0]] * 2 + list(row) + [row[-1]] * 2
                for x in range(0, side, 2):
                    taps = [weight * value for weight, value in zip((-1, 2, 6, 2, -1), padded[x:x + 5])]
                    self.assertLessEqual(abs(chroma[(y * side + x) // 2] - sum(taps) / 8), 2, (plane, x, y))

    def test_neighbourhoods_of_video(self):
        # Of the formats that the frames can take, one is chosen that the type of blur is for.
        clip, blurred = self.folder / "a.y4m", self.folder / "b.y4m"
        self.qzil("pan", SAMPLES / "cliff.png", "--size", "64,48", "--frames", "2", "-o", clip)
        for blur in ("gauss", "fast-gauss"):
            self.qzil("run", "blur", clip, "--type", blur, "--radius", "5,2", "-o", blurred)
            self.assertIn("2 frames", self.qzil("info", blurred))

    def test_kernels(self):
        # A single weight on the upper right, given or in a file. It is a product of a row and a column, and those are
        # applied upside down: the picture comes from the lower right.
        photograph, file, shifted = SAMPLES / "cliff.png", self.folder / "kernel.txt", self.folder / "shifted.png"
        file.write_text("0 0 1\n0 0 0\n0 0 0\n/ 1\n")
        part = ("--roi", "100,100,50,50", "--offset", "0,0", "--size", "50,50")
        self.qzil("run", "copy", photograph, "--roi", "101,101,50,50", "--offset", "0,0", "--size", "50,50", "-o",
                  self.folder / "part.png")
        for kernel in ("0,0,2;0,0,0;0,0,0/2", "@" + str(file)):
            self.qzil("run", "convolve", photograph, "--kernel", kernel, *part, "-o", shifted)
            self.qzil("diff", self.folder / "part.png", shifted)
        forms = ("rows of numbers from the top, with ';' between rows and blanks between numbers, an odd number of "
                 "each, and perhaps a divisor, as in '1 2 1; 2 4 2; 1 2 1 / 16'; or @FILE with such a text")
        for wrong in ("1 2; 3 4", "1 2 3; 4 5", "1 x 1", "1 / 0", "@" + str(self.folder / "absent.txt")):
            self.refused(f"convolve: --kernel is '{wrong}', but takes {forms}.", "run", "convolve", photograph,
                         "--kernel", wrong, "-o", self.folder / "never.png")

    def test_field_order_survives(self):
        for first, name in (("top", "TFF"), ("bottom", "BFF")):
            clip, out = self.folder / "clip.y4m", self.folder / "out.y4m"
            self.qzil("pan", SAMPLES / "cliff.png", "--size", "360,288", "--interlaced", first, "--frames", 12, "-o", clip)
            self.qzil("run", "blend", clip, SAMPLES / "mask.png", "--alpha", 0.2, "--size", "360,288", "-o", out)
            report = self.ffmpeg("-i", out, "-vf", "idet", "-f", "null", "-").stderr.decode()
            counts = dict(re.findall(r"(TFF|BFF|Progressive): *(\d+)", report.split("Multi frame detection")[1]))
            self.assertGreaterEqual(int(counts[name]), 11, report)


class Sheets(Command):
    def test_sheet(self):
        b = self.draw("b.png", lambda x, y: (0, 255, 0, 255), 8, 8)
        c = self.draw("c.png", lambda x, y: (255, 0, 0, 255) if x < 4 else (0, 0, 255, 255), 8, 6)
        self.qzil("sheet", b, c, "--columns", 2, "--shrink", 4, "--margin", 1, "-o", self.out)

        def pixel(x, y):
            if y in (1, 2) and x in (1, 2):
                return (0, 255, 0, 255)
            if y in (1, 2) and x in (4, 5):
                return (255, 0, 0, 255) if x == 4 else (0, 0, 255, 255)
            return (32, 32, 32, 255)
        self.expect(self.out, pixel, 7, 4)
        self.qzil("sheet", b, "--shrink", 0, "-o", self.out, code=USAGE)
        self.qzil("sheet", self.folder / "missing.png", "-o", self.out, code=UNREADABLE)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
