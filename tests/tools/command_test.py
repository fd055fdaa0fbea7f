"""Runs the built command: command_test.py QZIL SOURCE_ROOT. Needs nothing but Python itself."""

import json
import os
import pathlib
import re
import shlex
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


def write_float_tif(path, value):
    """One grey pixel; the fields are size, 32 bits, uncompressed, black at 0, its strip, and floating point."""
    fields = ((256, 1), (257, 1), (258, 32), (259, 1), (262, 1), (273, 8), (277, 1), (278, 1), (279, 4), (339, 3))
    path.write_bytes(struct.pack("<4sIfH", b"II*\0", 12, value, len(fields)) +
                     b"".join(struct.pack("<HHII", tag, 4, 1, number) for tag, number in fields) + bytes(4))


def y4m_stream(tags="W6 H4 F25:1 It A16:15 C422", frames=5, frame_bytes=48, seed=0):
    body = b"".join(b"FRAME\n" + bytes((seed + 16 + f * 31 + i * 7) % 220 for i in range(frame_bytes))
                    for f in range(frames))
    return b"YUV4MPEG2 " + tags.encode() + b"\n" + body


def picture(x, y):
    return (x * 10, y * 15, (x * 7 + y * 3) % 256, 255)


def edge(x, y):
    """A grey picture of steps, repeated at its ends."""
    i, j = min(max(x, 0), WIDTH - 1), min(max(y, 0), HEIGHT - 1)
    return 250 if (i * i + j * j) % 31 < 9 else 20 + i


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
        done = subprocess.run([QZIL, *map(str, arguments)], capture_output=True, text=True, timeout=60,
                              cwd=self.folder)
        self.assertEqual(done.returncode, code, f"{arguments}\n{done.stdout}{done.stderr}")
        return done.stderr if code not in (OK, DIFFERENT) else done.stdout

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
            if " ->\n" in text:  # a conversion: as many pictures as it has inputs
                inputs = re.search(r"inputs: (.*)", text)[1].split()
                self.qzil("run", name, *[self.a for _ in inputs], "-o", self.out)
            else:
                self.assertRegex(text, r"\n  \* MFIF_RGBA_(RAW_32|FLOAT)\n")
            self.assertIn("--roi", self.qzil("run", name, "--help"))

    def test_other_programs_read_it(self):
        names = {entry["name"] for entry in json.loads(self.qzil("list", "--json"))}
        self.assertLessEqual({"blend", "extract-channel"}, names)
        self.assertEqual(json.loads(self.qzil("describe", "blend", "--json"))["inputs"], ["a", "b"])
        script = self.qzil("complete", "bash") + ("COMP_WORDS=(qzil run blur a.png then blend --al)\nCOMP_CWORD=6\n_qzil\n"
                                                  "echo ${COMPREPLY[@]}\n")
        self.assertEqual(subprocess.run(["bash", "-c", script], capture_output=True, text=True).stdout, "--alpha\n")
        self.assertIn(".SS blend\n", self.qzil("complete", "man"))


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
    def test_hash_is_of_the_pixels(self):
        wide = self.folder / "a.tif"
        self.qzil("run", "copy", self.a, "-o", wide)
        first = self.qzil("hash", self.a)
        self.assertRegex(first, r"^[0-9a-f]{16}\n$")
        self.assertEqual(self.qzil("hash", wide), first)
        other = self.draw("b.png", lambda x, y: (*picture(x, y)[:3], 255 - (x == 23 and y == 16)))
        self.assertNotEqual(self.qzil("hash", other), first)


class Formats(Command):
    def test_grey_stays_grey(self):
        grey = self.draw("g.png", lambda x, y: x * 10 + y)
        self.assertIn(", grey, 8 bits", self.qzil("info", self.run_effect("invert", grey)))
        self.assertIn(", RGBA, 8 bits", self.qzil("info", self.run_effect("blend", grey, self.a)))

    def test_depth_and_layout_follow_the_inputs(self):
        deep, half, plain = (self.folder / name for name in ("deep.tif", "half.exr", "plain.ppm"))
        self.qzil("convert", self.a, "--depth", 16, "-o", deep)
        self.qzil("convert", self.a, "-o", half)
        self.qzil("convert", self.draw("g.png", lambda x, y: 9), "-o", plain)
        for arguments, wanted in (([deep], "RGBA, 16 bits"), ([half], "RGBA, 32-bit float"), ([self.a, "--depth", 16], "16 bits"),
                                  ([deep, "--depth", "8"], "RGBA, 8 bits"), ([SAMPLES / "cliff.png"], "RGB, 8 bits"), ([plain], "grey, 8 bits"),
                                  ([self.a, "--channels", "a"], "RGBA, 8 bits"), ([deep, "--mask", self.a], "16 bits")):
            out = self.folder / "out.tif"
            self.qzil("run", "invert", *arguments, "-o", out)
            self.assertIn(wanted, self.qzil("info", out), arguments)
        # Steps of 16 bits stay apart, from the one file to the other.
        self.qzil("run", "invert", deep, "then", "invert", "-o", self.folder / "back.png")
        self.qzil("diff", deep, self.folder / "back.png")
        done = subprocess.run([QZIL, "run", "invert", deep, "-o", self.folder / "o.jpg"], capture_output=True, text=True)
        self.assertIn("8 of 16 bits kept", done.stderr)

    def test_chains_are_their_effects_one_by_one(self):
        self.run_effect("blur", self.a, "--radius", 2)
        self.qzil("run", "blend", self.a, self.out, "--alpha", 0.3, "-o", self.folder / "two.png")
        self.qzil("run", "blur", self.a, "--radius", 2, "then", "blend", self.a, "-", "--alpha", 0.3, "then", "invert", "then",
                  "invert", "-o", self.out)
        self.qzil("diff", self.folder / "two.png", self.out)

    def test_levels_give_equal_pictures(self):
        other = self.folder / "baseline.png"
        inputs = [SAMPLES / "cliff.png", SAMPLES / "tulips.png"]
        self.qzil("run", "blend", *inputs, "--cpu", "baseline", "-o", other)
        self.qzil("diff", self.run_effect("blend", *inputs), other)


class Pictures(Command):
    def test_every_pixel_of_the_table(self):
        for name, pixel, *size in (("f", picture, WIDTH, HEIGHT - 1), ("b", lambda x, y: (y, x, 9, 255), 8, 6),
                                   ("c", lambda x, y: (255, 0, 0, 255) if x < 4 else (0, 0, 255, 255), 8, 6),
                                   ("green", lambda x, y: (0, 255, 0, 255), 8, 8), ("g", lambda x, y: x * 10 + y),
                                   ("m", lambda x, y: 255 if x < 5 and y < 6 else 0),
                                   ("s", lambda x, y: 255 if y == 0 else 0, 6, 4), ("edge", edge),
                                   ("white", lambda x, y: (255, 255, 255, 255), 30, 30),
                                   ("flat", lambda x, y: (200, 77, 13, 255), 30, 30)):
            self.draw(name + ".png", pixel, *size)
        (self.folder / "kernel.txt").write_text("0 0 1\n0 0 0\n0 0 0\n/ 1\n")
        lines = (ROOT / "tests" / "tools" / "pictures.tsv").read_text().splitlines()
        for command, size, expression, most in (line.split("\t") for line in lines if line[0] != "#" and "\t" in line):
            if command == "command":
                continue

            def pixel(x, y, rule=compile(expression, command, "eval")):
                r, g, b, a = old = picture(x, y)
                return eval(rule, {"x": x, "y": y, "r": r, "g": g, "b": b, "a": a, "old": old, "p": picture,
                                   "new": (255 - r, 255 - g, 255 - b, a), "edge": edge, "min": min, "max": max})
            with self.subTest(command=command):
                self.qzil(*shlex.split(command), "-o", self.out)
                self.expect(self.out, pixel, *map(int, size.split()), most=most or 0)


class Failing(Command):
    def test_transcript(self):
        self.draw("s.png", lambda x, y: 255, 6, 4)
        self.draw("one.png", lambda x, y: 77, 1, 1)
        for value in ("nan", "inf", "0.5"):
            write_float_tif(self.folder / f"{value}.tif", float(value))
        self.draw("d.png", lambda x, y: tuple(v + 4 * ((x, y, i) == (5, 6, 1)) - 4 * ((x, y, i) == (7, 8, 3))
                                              for i, v in enumerate(picture(x, y))))
        (self.folder / "broken.png").write_bytes(self.a.read_bytes()[:60])
        stream = y4m_stream()
        for name, data in (("v", stream), ("w", y4m_stream(seed=90)), ("short", y4m_stream(frames=3)),
                           ("empty", y4m_stream(frames=0)), ("cut", stream[:-3])):
            (self.folder / f"{name}.y4m").write_bytes(data)
        before = {path: path.read_bytes() for path in self.folder.iterdir()}
        lines = (ROOT / "tests" / "tools" / "transcript.txt").read_text().splitlines()
        for number, line in enumerate(lines, 1):
            if not line.startswith("$ "):
                continue
            code, wanted = lines[number].split(" ", 1)
            done = subprocess.run([QZIL, *shlex.split(line[2:])], capture_output=True, text=True, cwd=self.folder,
                                  timeout=60)
            said = done.stdout.strip() if code in "01" else done.stderr.removeprefix("qzil: ").removesuffix("\n")
            with self.subTest(line=number, command=line):
                self.assertEqual(done.returncode, int(code), done.stderr)
                if wanted.startswith("/"):
                    self.assertRegex(said, f"^{wanted[1:-1]}$")
                else:
                    self.assertEqual(said, wanted)
        self.assertEqual({path: path.read_bytes() for path in self.folder.iterdir()}, before)

    def test_lost_output_is_a_failure(self):
        for arguments in (["list"], ["describe", "blend"], ["--help"], ["run", "blend", "--help"], ["info", self.a],
                          ["hash", self.a], ["diff", self.a, self.a], ["run", "invert", self.a, "--time", "-o", self.out],
                          ["run", "invert", self.a, "-o", "png:-"]):
            with open("/dev/full", "w") as full:
                done = subprocess.run([QZIL, *map(str, arguments)], stdout=full, stderr=subprocess.PIPE, text=True)
            self.assertEqual((done.returncode, done.stderr),
                             (UNWRITABLE, "qzil: cannot write the standard output: No space left on device\n"), arguments)

    # The memory of sanitizers counts, too.
    @unittest.skipIf(os.environ.get("QZIL_SANITIZED"), "a limit of memory")
    def test_memory_has_a_limit(self):
        head = self.folder / "head.png"
        data = struct.pack(">IIBBBBB", 16384, 16384, 8, 2, 0, 0, 0)
        head.write_bytes(self.a.read_bytes()[:8] + b"\0\0\0\rIHDR" + data + struct.pack(">I", zlib.crc32(b"IHDR" + data)) +
                         self.a.read_bytes()[33:])
        self.assertIn("16384 x 16384 pixels", self.qzil("info", head, "--memory", "40M"))
        with open("/dev/zero", "rb") as zero:
            done = subprocess.run([QZIL, "info", "-", "--memory", "40M"], stdin=zero, capture_output=True, text=True,
                                  timeout=20)
        self.assertEqual(done.returncode, UNREADABLE, done.stderr)
        big = self.draw("big.png", lambda x, y: 7, 3000, 2000)
        sentence = self.qzil("run", "invert", big, "--format", "MONO_FLOAT", "--memory", "20M", "-o", self.out,
                             code=REFUSED)
        self.assertIn("memory", sentence)

    def test_interrupt_while_reading(self):
        fifo = self.folder / "in.png"
        os.mkfifo(fifo)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            command = subprocess.Popen([QZIL, "run", "invert", fifo, "-o", self.out], stderr=subprocess.PIPE, text=True)
            with open(fifo, "wb") as pipe:  # opens when the command has opened its end
                pipe.write(self.a.read_bytes()[:50])
                pipe.flush()
                time.sleep(0.2)
                command.send_signal(number)
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


class Batches(Command):
    def setUp(self):
        super().setUp()
        self.inputs = [self.draw(f"shot.{i:03d}.png", lambda x, y: (x * i % 256, y, 9, 255), 200, 200)
                       for i in range(1, 13)]

    def contents(self, folder):
        return {path.name: path.read_bytes() for path in folder.iterdir()}

    def test_names_numbers_and_failures(self):
        out = self.folder / "o"
        out.mkdir()
        self.qzil("run", "invert", *self.inputs, "-o", out / "{name}-{n}.png", "--jobs", 3)
        self.qzil("diff", self.qzil_out("invert", self.inputs[4]), out / "shot.005-5.png")
        self.qzil("run", "invert", self.folder / "shot.%03d.png", "--start", 3, "--frames", 2, "-o", out / "n%02d.png")
        self.assertEqual(sorted(path.name for path in out.glob("n*")), ["n03.png", "n04.png"])
        self.inputs[6].write_bytes(b"no picture")
        error = self.qzil("run", "invert", *self.inputs, "-o", out / "f{n}.png", code=UNREADABLE)
        self.assertIn("11 of 12 pictures are there, 1 failed.", error)
        self.inputs[7].unlink()
        error = self.qzil("run", "invert", self.folder / "shot.%03d.png", "-o", out / "m%d.png", code=UNREADABLE)
        self.assertIn("the sequence has no", error)
        self.assertIn("shot.008.png", error)

    def qzil_out(self, effect, path):
        self.qzil("run", effect, path, "-o", self.out)
        return self.out

    def test_killed_and_resumed_is_as_never_killed(self):
        whole, killed = self.folder / "whole", self.folder / "killed"
        for folder in (whole, killed):
            folder.mkdir()
        self.qzil("run", "blur", *self.inputs, "--radius", 9, "-o", whole / "{name}.png")
        run = ["run", "blur", *self.inputs, "--radius", 9, "--jobs", 2, "--manifest", self.folder / "m.txt", "-o"]
        for delay in (0.01, 0.03, 0.05, 0.08, 0.15):
            command = subprocess.Popen([QZIL, *map(str, run), str(killed / "{name}.png"), "--resume"],
                                       stderr=subprocess.DEVNULL)
            time.sleep(delay)
            command.kill()
            command.wait()
        (killed / "shot.003.png").write_bytes(b"not what the manifest says")
        self.qzil(*run, killed / "{name}.png", "--resume")
        self.assertEqual(self.contents(killed), self.contents(whole))
        lines = (self.folder / "m.txt").read_text().splitlines()
        self.assertEqual(len({line.split("\t")[0] for line in lines}), 12)


class Video(Command):
    """Streams of small frames whose samples tell frame, plane and place."""

    def stream(self, name, *arguments, **named):
        (self.folder / name).write_bytes(y4m_stream(*arguments, **named))
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

    def test_keyframes(self):
        def luma(*arguments):
            return [f[0] for f in self.frames(self.run_video("blend", self.v, self.w, *arguments))[1]]
        a, b = ([frame[0] for frame in self.frames(v.read_bytes())[1]] for v in (self.v, self.w))
        for arguments, shares in ((["--alpha", "0:0,2:1,4:0.5"], (0, 0.5, 1, 0.75, 0.5)),
                                  (["--alpha", "1:0,3:1", "--ease", "smooth"], (0, 0, 0.5, 1, 1)),
                                  (["--alpha", "0..1", "--ease", "smooth"], (0, 0.15625, 0.5, 0.84375, 1))):
            for got, x, y, share in zip(luma(*arguments), a, b, shares):
                self.assertAlmostEqual(got, x + (y - x) * share, delta=1)
        grey = self.stream("grey.y4m", "W6 H4 F25:1 Ip A1:1 Cmono", 5, 24)
        moved = self.frames(self.run_video("copy", grey, "--roi", "0:0,0,2,4;4:4,0,2,4", "--offset", "0,0", "--size", "2,4"),
                            8)[1]
        whole = self.frames(grey.read_bytes(), 24)[1]
        self.assertEqual([m[:2] for m in moved], [w[x:x + 2] for w, x in zip(whole, (0, 1, 2, 3, 4))])

    def test_chains_and_masks_of_video(self):
        twice = self.run_video("invert", self.v, "then", "invert", "then", "blend", self.w, "-", "--alpha", "0..1")
        self.assertEqual(self.frames(twice)[1][4], self.frames(self.v.read_bytes())[1][4])
        white = self.folder / "white.y4m"
        white.write_bytes(b"YUV4MPEG2 W6 H4 F25:1 Ip A1:1 Cmono\n" + b"".join(
            b"FRAME\n" + bytes([255 * (i % 2)]) * 24 for i in range(5)))
        masked = self.frames(self.run_video("blend", self.v, self.w, "--alpha", 1, "--mask", white))[1]
        for i, frame in enumerate(masked):
            self.assertAlmostEqual(frame[0], self.frames((self.w if i % 2 else self.v).read_bytes())[1][i][0], delta=1)

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

    def test_counts_are_never_short(self):
        short = self.stream("short.y4m", frames=3)
        self.assertEqual(len(self.frames(self.run_video("blend", self.v, short, "--shortest"))[1]), 3)
        self.assertEqual(len(self.frames(self.run_video("blend", self.v, short, "--frames", 2))[1]), 2)
        # The frames before a damaged one go into a pipe, not into a file.
        out, error = self.pipe("run", "invert", "-", "--progress", "off", "--jobs", 3, "-o", "-",
                               data=self.v.read_bytes()[:-3], code=UNREADABLE)
        self.assertEqual(len(self.frames(out)[1]), 4)
        self.assertEqual(error, "qzil: cannot read the standard input: frame 5 ends early, after 45 of 48 bytes\n")
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

    def test_field_order_survives(self):
        for first, name in (("top", "TFF"), ("bottom", "BFF")):
            clip, out = self.folder / "clip.y4m", self.folder / "out.y4m"
            self.qzil("pan", SAMPLES / "cliff.png", "--size", "360,288", "--interlaced", first, "--frames", 12, "-o", clip)
            self.qzil("run", "blend", clip, SAMPLES / "mask.png", "--alpha", 0.2, "--size", "360,288", "-o", out)
            report = self.ffmpeg("-i", out, "-vf", "idet", "-f", "null", "-").stderr.decode()
            counts = dict(re.findall(r"(TFF|BFF|Progressive): *(\d+)", report.split("Multi frame detection")[1]))
            self.assertGreaterEqual(int(counts[name]), 11, report)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
