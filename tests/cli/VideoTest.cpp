// The built command on videos that ffmpeg makes; ffprobe reads the outputs.
#include <chrono>
#include <csignal>
#include <thread>

#include "cli/VideoProcess.h"
#include "media/picture/PictureFile.h"

namespace lomix {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST_F(Video, StreamsTimestampsAndTagsStayAsTheyWere) {
  makeClip("vfr.mp4", "s=96x64:r=30:d=2",
           "-vf \"select='not(mod(n,3))+lt(n,12)'\" -vsync vfr -video_track_timescale 30000");
  shell("printf '1\\n00:00:00,100 --> 00:00:01,000\\nHello\\n' > words.srt");
  makeClip(
      "sound.mkv", "s=96x64:r=25:d=1",
      "-f lavfi -i sine=d=1 -f lavfi -i sine=f=900:d=1 -i words.srt -map 0 -map 1 -map 2 -map 3 "
      "-c:a:0 aac -c:a:1 flac -c:s srt -metadata:s:a:1 language=fin");
  makeClip("sound.mp4", "s=96x64:r=30000/1001:d=1", "-f lavfi -i sine=d=1 -c:a aac");
  makeClip("deep.mov", "s=96x64:r=24:d=0.5",
           "-vf format=yuv420p10le -color_primaries bt2020 -color_trc smpte2084 "
           "-colorspace bt2020nc -color_range tv");
  makeClip("odd.mp4", "s=96x64:r=24:d=0.5", "-vf format=rgb24,crop=95:63,format=yuv444p");
  makeClip("alpha.mov", "s=96x64:r=24:d=0.3",
           "-vf 'format=rgba,colorchannelmixer=aa=0.5' -c:v prores_ks -pix_fmt yuva444p10le");
  makeClip("wide.mp4", "s=96x64:r=24:d=0.3", "-vf setsar=4/3 -pix_fmt yuvj420p");
  shell("ffmpeg -v error -i sound.mp4 -c copy -metadata:s:v rotate=90 turned.mp4");
  const std::string shape =
      "frame=pts_time:stream=index,width,height,sample_aspect_ratio:stream_side_data=rotation";
  const std::string tags =
      "stream=avg_frame_rate,color_range,color_space,color_transfer,color_primaries:" + shape;
  struct Case {
    const char* in;
    const char* out;
    const char* options;
    const std::string& compared;
    bool sound;
  };
  // Tags only where the output is YUV as well and its codec does not settle the range.
  for (const Case& c : {Case{"vfr.mp4", "a.mp4", "", tags, false},
                        {"vfr.mp4", "a.mov", "--codec png", shape, false},
                        {"sound.mkv", "b.mkv", "", shape, true},
                        {"sound.mp4", "c.mp4", "--crf 40", tags, true},
                        {"deep.mov", "d.mov", "", tags, false},
                        {"odd.mp4", "e.mp4", "", tags, false},
                        {"alpha.mov", "f.mov", "--codec prores", tags, false},
                        {"wide.mp4", "g.mp4", "--threads 1", tags, false},
                        {"turned.mp4", "h.mp4", "", tags, true}}) {
    const std::string in = c.in;
    const std::string out = c.out;
    shell(LOMIX_COMMAND " render " + in + " " + out + " --quiet " + c.options + kLook);
    EXPECT_EQ(probe(out, "v", c.compared), probe(in, "v", c.compared)) << in << " to " << out;
    if (!c.sound) continue;
    for (const char* others : {"a", "s"}) {
      const char* packets = "packet=pts_time,size,data_hash:stream=index,codec_name";
      EXPECT_EQ(probe(out, others, packets), probe(in, others, packets)) << in << " to " << out;
    }
  }
  EXPECT_THAT(probe("b.mkv", "s", "packet=size"), HasSubstr("5"));
  EXPECT_THAT(probe("b.mkv", "a", "stream_tags=language"), HasSubstr("fin"));
  EXPECT_THAT(probe("f.mov", "v", "stream=pix_fmt"), HasSubstr("yuva444p"));
  EXPECT_THAT(probe("d.mov", "v", "stream=pix_fmt"), HasSubstr("yuv444p1"));
}

TEST_F(Video, LosslessFramesAreTheStillsAtTheirTimes) {
  makeClip("plain.mkv", "s=97x63:r=25:d=0.4", "-vf format=bgr0 -c:v ffv1");
  makeClip("alpha.mkv", "s=96x64:r=25:d=0.4",
           "-vf 'format=bgra,colorchannelmixer=aa=0.7' -c:v ffv1");
  makeClip("deep.mkv", "s=96x64:r=25:d=0.4", "-vf format=gbrp16le,noise=alls=20 -c:v ffv1");
  for (const std::string name : {"plain", "alpha", "deep"}) {
    const std::string clip = name + ".mkv";
    shell(LOMIX_COMMAND " render " + clip + " out-" + clip + " --quiet" + kLook);
    shell(LOMIX_COMMAND " render " + clip + " out-" + name + ".mov --codec png --quiet" + kLook);
    shell(LOMIX_COMMAND " render " + clip + " " + name + "-seq.%d.png --quiet" + kLook);
    shell(LOMIX_COMMAND " render " + name + "-seq.%d.png seq-" + clip +
          " --fps 25 --quiet --set blend-w-original=100");
    shell("ffmpeg -v error -y -i " + clip +
          " -vf 'select=eq(n\\,3)' -frames:v 1 still.png; " LOMIX_COMMAND
          " render still.png lomix.png --overwrite --quiet --time 3/25" +
          kLook);
    const media::Picture still = media::readPicture(path("lomix.png"));
    for (const char* out : {"out-%s.mkv", "out-%s.mov", "seq-%s.mkv"}) {
      std::string file = out;
      file.replace(file.find("%s"), 2, name);
      shell("ffmpeg -v error -y -i " + file + " frame.%d.png");
      const media::Picture frame = media::readPicture(path("frame.4.png"));
      ASSERT_EQ(frame.depth(), still.depth());
      ASSERT_EQ(frame.width(), still.width());
      EXPECT_EQ(frame.info.hasAlpha, name == "alpha");
      for (int y = 0; y < still.height(); ++y) {
        if (still.depth() == 8) {
          ASSERT_TRUE(std::ranges::equal(frame.row8(y), still.row8(y))) << file << " " << y;
        } else {
          ASSERT_TRUE(std::ranges::equal(frame.row32(y), still.row32(y))) << file << " " << y;
        }
      }
    }
  }
}

TEST_F(Video, ColoursFollowTheTagsAndWhereThereAreNoneTheSize) {
  struct Case {
    const char* size;
    const char* matrix;
    const char* range;
    const char* tags;
  };
  for (const Case& c : {Case{"96x64", "bt601", "tv", ""},
                        {"1280x720", "bt709", "tv", ""},
                        {"96x64", "bt709", "tv", "-colorspace bt709"},
                        {"1280x720", "bt601", "tv", "-colorspace smpte170m"},
                        {"96x64", "bt2020", "tv", "-colorspace bt2020nc"},
                        {"96x64", "bt709", "pc", "-colorspace bt709 -color_range pc"}}) {
    const std::string format = std::string("scale=out_color_matrix=") + c.matrix +
                               ":out_range=" + c.range + ",format=yuv444p";
    shell("ffmpeg -v error -y -f lavfi -i color=0xC83C1E:s=" + std::string(c.size) +
          ":r=1:d=1 -vf format=rgb24," + format + " " + c.tags +
          " -qp 0 clip.mp4; " LOMIX_COMMAND
          " render clip.mp4 out.png --frames 0 --overwrite --quiet");
    const media::Picture picture = media::readPicture(path("out.png"));
    const auto row = picture.row8(9).subspan(40, 4);
    EXPECT_NEAR(row[1], 0xC8, 4) << c.matrix << c.tags;
    EXPECT_NEAR(row[2], 0x3C, 4) << c.matrix << c.tags;
    EXPECT_NEAR(row[3], 0x1E, 4) << c.matrix << c.tags;
  }
}

TEST_F(Video, ChainsThroughStandardInputAndOutput) {
  makeClip("clip.mkv", "s=96x64:r=25:d=0.4", "-vf format=bgr0 -c:v ffv1");
  shell(LOMIX_COMMAND " render clip.mkv file.mkv --quiet" + kLook);
  const std::string raw = "-f rawvideo -pix_fmt rgb24 -";
  const std::string wanted = shell("ffmpeg -v error -i file.mkv " + raw);
  EXPECT_EQ(wanted.size(), 96u * 64 * 3 * 10);
  EXPECT_EQ(shell("ffmpeg -v error -i clip.mkv " + raw +
                  " | " LOMIX_COMMAND " render - - --raw 96x64:rgb24 --fps 25 --quiet" + kLook),
            wanted);
  // A named pipe has every byte once.
  shell("mkfifo pipe.mkv; (cat clip.mkv > pipe.mkv) & timeout 60 " LOMIX_COMMAND
        " render pipe.mkv piped.mkv --quiet" +
        kLook);
  EXPECT_EQ(shell("ffmpeg -v error -i piped.mkv " + raw), wanted);
  // Container in, Y4M out: YUV, so only about the same.
  shell(LOMIX_COMMAND " render - - < clip.mkv 2> err" + kLook + " > out.y4m");
  EXPECT_THAT(read(path("err")), StartsWith("wrote '-': 10 frames"));
  EXPECT_THAT(probe("out.y4m", "v", "stream=width,height,pix_fmt,avg_frame_rate"),
              StartsWith("stream,96,64,yuv444p,25/1"));
  const std::string psnr = shell(
      "ffmpeg -hide_banner -i out.y4m -i file.mkv -lavfi '[0]format=gbrp[a];[1]format=gbrp[b];"
      "[a][b]psnr' -f null - 2>&1 | sed -n 's/.*average:\\([0-9]*\\).*/\\1/p'");
  EXPECT_GT(std::stoi(psnr), 40);
}

TEST_F(Video, SomeFramesOfAVideo) {
  makeClip("clip.mkv", "s=96x64:r=25:d=1", "-vf format=bgr0 -c:v ffv1");
  shell(LOMIX_COMMAND " render clip.mkv part.mkv --frames 5-15x5 --quiet");
  EXPECT_EQ(probe("part.mkv", "v", "frame=pts_time"),
            "frame,0.000000\nframe,0.200000\nframe,0.400000\n");
  const Result result = run({"render", "clip.mkv", "f.##.png", "--frames", "23-26"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("2 frames beyond its end: 25-26 (the others are written)"));
  EXPECT_THAT(run({"render", "clip.mkv", "g.##.png", "--frames", "30-31"}).err,
              HasSubstr("2 frames beyond its end: 30-31 (choose others)"));
  EXPECT_TRUE(std::filesystem::exists(path("f.24.png")));
}

TEST_F(Video, DamagedFramesAreSkippedAndReported) {
  makeClip("clip.mov", "s=96x64:r=25:d=0.4", "-c:v png");
  std::string bytes = read(path("clip.mov"));
  bytes.replace(bytes.size() / 2, 64, 64, 'x');
  write(path("clip.mov"), bytes);
  const Result result = run({"render", "clip.mov", "out.mkv"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("'clip.mov': 1 frame damaged and left out"));
  EXPECT_EQ(probe("out.mkv", "v", "stream=nb_read_frames -count_frames"), "stream,9\n");
  EXPECT_EQ(run({"render", "clip.mov", "f.#.png"}).exitCode, 3);
}

TEST_F(Video, BadInputIsOneLineAndLeavesTheFolderAsItWas) {
  makeClip("pcm.mov", "s=96x64:r=25:d=0.2", "-f lavfi -i sine=d=0.2 -c:a pcm_s16be");
  write(path("text.mp4"), "This is not a video.\n");
  write(path("taken.mp4"), "precious");
  const std::string whole = read(path("pcm.mov"));
  write(path("cut.mov"), whole.substr(0, whole.size() / 2));
  const auto before = names();
  struct Case {
    std::vector<std::string> arguments;
    int exitCode;
    const char* cause;
  };
  for (const Case& c : std::vector<Case>{
           {{"missing.mp4", "o.mp4"}, 1, "no such file"},
           {{"text.mp4", "o.mp4"}, 1, "text.mp4"},
           {{"cut.mov", "o.mov"}, 1, "cut.mov"},
           {{"pcm.mov", "o.mp4"}, 1, "or leave the sound out with --no-audio)"},
           {{"pcm.mov", "taken.mp4", "--video-only"}, 1, "--overwrite"},
           {{"pcm.mov", "nowhere/o.mov"}, 1, "nowhere"},
           {{"pcm.mov", "o.mp4", "--codec", "ffv2"}, 2, "raw, y4m)"},
           {{"pcm.mov", "o.mov", "--crf", "20"}, 2, "constant rate factor"},
           {{"pcm.mov", "o.mp4", "--codec", "ffv1", "--video-only"}, 1, "holds no ffv1"},
           {{"pcm.mov", "o.mov", "--crf", "64"}, 2, "--crf"},
           {{"pcm.mov", "o.png"}, 2, "out.####.png"},
           {{"pcm.mov", "o.mov", "--time", "1"}, 2, "--frames"},
           {{"pcm.mov", "o.mov", "--fps", "25"}, 2, "timestamps"},
           {{"pcm.mov", "-", "--codec", "h264"}, 1, "raw or y4m with --codec)"},
           {{"pcm.mov", "-", "--raw", "12"}, 2, "--raw"},
           {{"pcm.mov", "-", "--raw", "4x4:rainbow"}, 1, "pixel format"}}) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.begin(), "render");
    const Result result = run(arguments);
    const std::string line = testing::PrintToString(arguments);
    EXPECT_EQ(result.exitCode, c.exitCode) << line << result.err;
    EXPECT_THAT(result.err, AllOf(StartsWith("error: "), EndsWith(")\n"), HasSubstr(c.cause)))
        << line;
    EXPECT_EQ(names(), before) << line;
  }
  expectDone({"render", "pcm.mov", "taken.mp4", "--skip-existing", "--report", "kept.json"});
  EXPECT_THAT(read(path("kept.json")), HasSubstr("\"kept\": true"));
  EXPECT_EQ(read(path("taken.mp4")), "precious");
}

TEST_F(Video, AnInterruptLeavesNothingUnderTheFinalName) {
  makeClip("clip.mp4", "s=640x360:r=25:d=20", "-preset ultrafast");
  const auto before = names();
  const pid_t process = start({"render", "clip.mp4", "out.mkv"});
  while (names() == before) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_FALSE(std::filesystem::exists(path("out.mkv")));
  kill(process, SIGINT);
  const Result result = finish(process);
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_THAT(result.err, HasSubstr("interrupted: 'out.mkv': nothing is written (run it again"));
  EXPECT_EQ(names(), before);
}

}  // namespace
}  // namespace lomix
