#!/usr/bin/python3
"""A 1280x720 MJPEG camera served on 127.0.0.1 (camera_source.py, frames made once by
ffmpeg's testsrc2) feeding the standard overlay canvas (the peer baseline's: the camera frame,
a 200x80 logo with alpha, four texts with shadows, JPEG quality 80), one picture composed and
encoded for every frame, against the programs a user would run instead:

  tessarolle  the canvas served as its live stream "Canvas01.mjpg", watched by stream_viewer.py
  motion      the same camera, its text overlay (text_left/text_right, no logo: motion cannot
              draw one), its live stream at quality 80 and up to 100 pictures a second,
              watched the same way
  ffmpeg      decoding the camera's stream, overlay + 4 drawtext filters with shadows, JPEG
              q:v 6 (about quality 79) for every frame, one thread everywhere

Each process's own CPU time (user + system, all its threads, from wait4) for SECONDS of video
is scaled to a minute of video. Latency: the source draws each frame's number into it; the
viewer reads it back from every picture served and the time between the source's sending the
frame and the viewer's receiving its picture is the latency (loopback, same clock).

    bench/camera_vs_peers.py BUILD [SECONDS] [--motion-detection] [--only NAME] [--feed-rate N]

With --feed-rate tessarolle's feed asks for up to N frames a second instead of the camera's own
rate: a rate above the camera's never holds a frame back waiting for the feed's next grab.

With --motion-detection the camera sends 15 frames a second and both tessarolle and motion
detect motion on it.
"""

import os
import signal
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PYTHON = "/usr/bin/python3"
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
# The peer baseline's texts and layout at 720p: x, y, size in pixels.
TEXTS = [("14:32:05", 20, 16, 48), ("Fri 17 May 2024", 20, 72, 28),
         ("12.3 °C  Wind 4 m/s SW", 20, 636, 28), ("Station Hill  1234 m", 20, 676, 24)]
LOGO_X, LOGO_Y, SHADOW = 1060, 20, 2
# The frame number's eight squares (stream_viewer.py reads them back).
BITS_X, BITS_Y, SIDE, STEP = 600, 320, 40, 48


def make_inputs(work, frames):
    """The camera's frames with their numbers drawn in, and the logo."""
    boxes = [f"drawbox=x={BITS_X - 8}:y={BITS_Y - 8}:w={8 * STEP + 8}:h={SIDE + 16}:c=black:t=fill"]
    for bit in range(8):
        boxes.append(f"drawbox=x={BITS_X + bit * STEP}:y={BITS_Y}:w={SIDE}:h={SIDE}:c=white:t=fill"
                     f":enable='eq(mod(floor(n/{1 << bit}),2),1)'")
    subprocess.run(["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", "-f", "lavfi",
                    "-i", "testsrc2=size=1280x720:rate=30", "-vf", ",".join(boxes),
                    "-frames:v", str(frames), "-q:v", "3", "-f", "mjpeg",
                    os.path.join(work, "camera.mjpeg")], check=True)
    subprocess.run(["/usr/bin/convert", "-size", "200x80", "xc:none",
                    "-fill", "rgba(20,80,180,0.70)", "-draw", "roundrectangle 0,0 199,79 16,16",
                    "-fill", "rgba(255,255,255,0.95)", "-font", FONT.replace(".ttf", "-Bold.ttf"),
                    "-pointsize", "34", "-gravity", "center", "-annotate", "+0+0", "PEERCAM",
                    "PNG32:" + os.path.join(work, "logo.png")], check=True)


def write_site(work, camera_port, web_port, fps, detect, feed_rate=None):
    ini = ("[General]\r\nLastPortfolio=site.por\r\n[Cameras]\r\n"
           f"Camera0=http://127.0.0.1:{camera_port}/cam\r\nCamera0Name=Bench\r\n")
    portfolio = ("[Canvas01]\r\nFileName=overlay.can\r\n[WebServer]\r\nEnabled=True\r\n"
                 f"Port={web_port}\r\n[VideoFeeds]\r\nFeed0Name=Bench\r\nFeed0Enabled=True\r\n"
                 f"Feed0FrameRate={feed_rate or fps}\r\n")
    if detect:
        portfolio += "Feed0MotionEnabled=True\r\nFeed0MotionDiffPreBlurRadius=1\r\n"
    canvas = ("[General]\r\nName=Overlay\r\nWidth=1280\r\nHeight=720\r\nShadowIntensity=60\r\n"
              "[WebServer]\r\nEnabled=True\r\nFileName=Canvas01.jpg\r\nQuality=80\r\n"
              "[Graphic001]\r\nEnabled=True\r\nSourceType=0\r\nSourceVideoFeedName=Bench\r\n"
              "Layer=0\r\nLocationX=0\r\nLocationY=0\r\n"
              "[Graphic002]\r\nEnabled=True\r\nSourceType=1\r\nSourceFileName=logo.png\r\n"
              f"Layer=1\r\nLocationX={LOGO_X}\r\nLocationY={LOGO_Y}\r\nInterval=3600\r\n")
    for number, (text, x, y, size) in enumerate(TEXTS, 1):
        canvas += (f"[Text{number:03}]\r\nEnabled=True\r\nText={text}\r\nFontName=DejaVu Sans\r\n"
                   f"FontSize={size * 72 // 96}\r\nColor=&HFFFFFF\r\nLayer=2\r\n"
                   f"LocationX={x}\r\nLocationY={y}\r\nInterval=3600\r\nShadow=True\r\n"
                   f"ShadowOffsetX={SHADOW}\r\nShadowOffsetY={SHADOW}\r\nShadowSize=0\r\n")
    for name, text in (("Tessarolle.INI", ini), ("site.por", portfolio), ("overlay.can", canvas)):
        with open(os.path.join(work, name), "w", encoding="utf-8") as out:
            out.write(text)


def write_motion_conf(work, camera_port, stream_port, fps, detect):
    path = os.path.join(work, "motion.conf")
    with open(path, "w") as out:
        out.write(f"""daemon off
setup_mode off
log_level 4
log_file {work}/motion.log
target_dir {work}/motion
netcam_url http://127.0.0.1:{camera_port}/cam
width 1280
height 720
framerate {fps}
text_left "{TEXTS[0][0]}\\n{TEXTS[1][0]}"
text_right "12.3 C  Wind 4 m/s SW\\n{TEXTS[3][0]}"
text_scale 2
stream_port {stream_port}
stream_localhost on
stream_maxrate 100
stream_quality 80
picture_output off
movie_output off
webcontrol_port 0
pause {"off" if detect else "on"}
""")
    return path


def free_port():
    import socket
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def cpu_of(process, stop_signal=None):
    """Stops the process if asked, waits for it, and gives its CPU seconds."""
    if stop_signal is not None:
        process.send_signal(stop_signal)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = status
    return usage.ru_utime + usage.ru_stime


def latencies(sent_log, viewer_log):
    sent = {}
    with open(sent_log) as lines:
        for line in lines:
            index, at = line.split()
            sent.setdefault(int(index) % 256, []).append(float(at))
    result, unread = [], 0
    if not os.path.exists(viewer_log):  # the viewer got no stream
        return result, unread
    with open(viewer_log) as lines:
        for line in lines:
            at, number = line.split()
            at, number = float(at), int(number)
            earlier = [s for s in sent.get(number, []) if s <= at]
            if number < 0 or not earlier:
                unread += 1
                continue
            result.append((at - max(earlier)) * 1000)
    return result, unread


def run_case(name, work, build, seconds, fps, detect, feed_rate=None):
    camera_port, out_port = free_port(), free_port()
    sent_log = os.path.join(work, f"{name}.sent")
    viewer_log = os.path.join(work, f"{name}.viewer")
    source = subprocess.Popen([PYTHON, os.path.join(ROOT, "bench/camera_source.py"),
                               str(camera_port), os.path.join(work, "camera.mjpeg"), str(fps),
                               sent_log])
    while not os.path.exists(sent_log):  # made once the source listens
        time.sleep(0.05)
    viewer = None
    if name == "tessarolle":
        write_site(work, camera_port, out_port, fps, detect, feed_rate)
        program = subprocess.Popen([os.path.join(build, "src/app/tessarolle"), "--for", "600"],
                                   cwd=work, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        url, stop = f"http://127.0.0.1:{out_port}/Canvas01.mjpg", signal.SIGINT
    elif name == "motion":
        conf = write_motion_conf(work, camera_port, out_port, fps, detect)
        program = subprocess.Popen(["motion", "-n", "-c", conf], cwd=work,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        url, stop = f"http://127.0.0.1:{out_port}/", signal.SIGTERM
    else:
        graph = f"[0:v][1:v]overlay=x={LOGO_X}:y={LOGO_Y}"
        for number, (text, x, y, size) in enumerate(TEXTS):
            text_file = os.path.join(work, f"text{number}.txt")
            with open(text_file, "w", encoding="utf-8") as out:
                out.write(text)
            graph += (f",drawtext=fontfile={FONT}:textfile={text_file}:expansion=none"
                      f":fontsize={size}:fontcolor=white:shadowcolor=black@0.6"
                      f":shadowx={SHADOW}:shadowy={SHADOW}:x={x}:y={y}")
        graph += ",format=yuvj420p"
        program = subprocess.Popen(
            ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", "-threads", "1",
             "-f", "mpjpeg", "-i", f"http://127.0.0.1:{camera_port}/cam",
             "-i", os.path.join(work, "logo.png"), "-filter_threads", "1",
             "-filter_complex_threads", "1", "-filter_complex", graph, "-threads", "1",
             "-q:v", "6", "-f", "mjpeg", os.path.join(work, "ffmpeg-out.mjpeg")], cwd=work)
        url, stop = None, None
    if url:
        viewer = subprocess.Popen([PYTHON, os.path.join(ROOT, "bench/stream_viewer.py"), url,
                                   str(seconds + 4), viewer_log])
    # The source sends its frames, then closes; the viewer stops on its own.
    deadline = time.monotonic() + seconds + 30
    while True:
        with open(sent_log) as lines:
            done = sum(1 for _ in lines) >= int(seconds * fps)
        if done or time.monotonic() > deadline or (stop is None and program.poll() is not None):
            break
        time.sleep(0.2)
    if viewer:
        viewer.wait()
    cpu = cpu_of(program, stop)
    source.kill()
    source.wait()
    row = {"name": name, "cpu": cpu, "per_minute": cpu * 60 / seconds}
    if viewer:
        times, unread = latencies(sent_log, viewer_log)
        row["parts"] = len(times) + unread
        if times:
            times.sort()
            row["median_ms"] = statistics.median(times)
            row["p99_ms"] = times[min(len(times) - 1, int(len(times) * 0.99))]
    else:
        with open(os.path.join(work, "ffmpeg-out.mjpeg"), "rb") as out:
            row["parts"] = out.read().count(b"\xff\xd8\xff")
    # What each picture made cost. motion sends a picture again when no new frame came, so
    # its pictures are the frames it received (the source sent them all to it).
    with open(sent_log) as lines:
        received = sum(1 for _ in lines)
    made = min(row["parts"], received) if name == "motion" else row["parts"]
    row["ms_per_picture"] = cpu * 1000 / made if made else float("nan")
    return row


def main():
    build = os.path.abspath(sys.argv[1])
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 and not sys.argv[2].startswith("-") else 20
    detect = "--motion-detection" in sys.argv
    fps = 15 if detect else 30
    work = tempfile.mkdtemp(prefix="tess-camera-bench.")
    make_inputs(work, int(seconds * fps))
    names = ["tessarolle", "motion"] + ([] if detect else ["ffmpeg"])
    if "--only" in sys.argv:
        names = [sys.argv[sys.argv.index("--only") + 1]]
    feed_rate = None
    if "--feed-rate" in sys.argv:
        feed_rate = float(sys.argv[sys.argv.index("--feed-rate") + 1])
    rows = [run_case(name, work, build, seconds, fps, detect, feed_rate) for name in names]
    ours = rows[0]["per_minute"] if names[0] == "tessarolle" else 0
    print(f"{seconds:g} s of 1280x720 video at {fps} fps, motion detection "
          f"{'on' if detect else 'off'}; work folder {work}")
    print("| Program | CPU s | CPU s per minute of video | ours / it | pictures made | "
          "CPU ms per picture | ours / it | latency median | latency p99 |")
    print("|---|---|---|---|---|---|---|---|---|")
    for row in rows:
        median = f"{row['median_ms']:.1f} ms" if "median_ms" in row else ""
        p99 = f"{row['p99_ms']:.1f} ms" if "p99_ms" in row else ""
        print(f"| {row['name']} | {row['cpu']:.2f} | {row['per_minute']:.2f} | "
              f"{ours / row['per_minute']:.2f} | {row['parts']} | {row['ms_per_picture']:.2f} | "
              f"{rows[0]['ms_per_picture'] / row['ms_per_picture']:.2f} | {median} | {p99} |")


if __name__ == "__main__":
    main()
