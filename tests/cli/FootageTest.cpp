// The built command on footage as people have it: cut, late, interlaced, with chapters and covers.
// What the outputs show is read with ffprobe and ffmpeg.
#include <sys/inotify.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>

#include "cli/VideoProcess.h"

namespace lomix {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Footage : public Video {
 protected:
  /// Makes six seconds of pictures, and of a tone whose loudness says the time.
  void makeFilm(const std::string& name, const std::string& options) {
    shell(
        "ffmpeg -v error -f lavfi -i testsrc2=s=96x64:r=25:d=6 -f lavfi -i "
        "'sine=f=440:d=6,aeval=val(0)*t/6' " +
        options + " " + name);
  }
  /// Returns the decoded sound, mono, 16 bits.
  std::vector<std::int16_t> sound(const std::string& name) {
    const std::string bytes =
        shell("ffmpeg -v error -i " + name + " -map a -f s16le -ac 1 -ar 44100 -");
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    return samples;
  }
  nlohmann::json report(const std::string& name) { return nlohmann::json::parse(read(path(name))); }
  /// Renders, expects the exit code, and returns what was printed on standard error.
  std::string render(const std::string& arguments, int exitCode = 0) {
    const Result result = finish(startProgram({"sh", "-c", LOMIX_COMMAND " render " + arguments}));
    EXPECT_EQ(result.exitCode, exitCode) << arguments << result.err;
    return withoutProgress(result.err);
  }
};

TEST_F(Footage, ATrimBeginsAtZeroWithTheSoundOfItsFrames) {
  makeFilm("film.mp4", "-g 12 -c:a aac");
  shell("ffmpeg -v error -i film.mp4 -c:v copy -c:a pcm_s16le film.mov");
  shell("ffmpeg -v error -i film.mp4 -c copy -output_ts_offset 36000 late.mkv");
  shell("ffmpeg -v error -i film.mp4 -c copy film.ts");
  // The sound in chunks of two seconds, apart from its pictures.
  shell(
      "ffmpeg -v error -i film.mp4 -c:v copy -c:a pcm_s16le -max_interleave_delta 0 "
      "-chunk_duration 2000000 chunks.mov");
  struct Case {
    const char* in;
    const char* out;
    int lost;  ///< The most samples of sound that may be missing or too many: of one packet, or
               ///< none.
  };
  for (const Case& c : {Case{"film.mp4", "a.mp4", 1024},
                        {"film.mov", "b.mov", 0},
                        {"chunks.mov", "c.mov", 0},
                        {"late.mkv", "d.mkv", 1024},
                        {"film.ts", "e.mp4", 1024}}) {
    render(std::string(c.in) + " " + c.out + " --codec h264 --frames 50-74 --quiet");
    const std::string frames = probe(c.out, "v", "frame=pts_time");
    EXPECT_THAT(frames, StartsWith("frame,0.000000\nframe,0.040000\n")) << c.out;
    EXPECT_EQ(std::ranges::count(frames, '\n'), 25) << c.out;
    EXPECT_NEAR(std::stod(shell("ffprobe -v error -of csv=p=0 -show_entries format=duration " +
                                std::string(c.out))),
                1.0, 0.03)
        << c.out;
    const auto whole = sound(c.in);
    const auto part = sound(c.out);
    EXPECT_NEAR(static_cast<double>(part.size()), 44100, c.lost) << c.out;
    // The tone grows: the loudest sample tells the time.
    const auto peak = [](const auto& samples, std::size_t from) {
      const auto first = samples.begin() + static_cast<std::ptrdiff_t>(from);
      return *std::max_element(first, first + 2000);
    };
    ASSERT_GT(part.size(), 42000u) << c.out;
    EXPECT_NEAR(peak(part, 20000), peak(whole, 2 * 44100 + 20000), 40) << c.out;
  }
  render("late.mkv kept.mkv --codec h264 --frames 50-51 --keep-timestamps --quiet");
  EXPECT_THAT(probe("kept.mkv", "v", "frame=pts_time"), StartsWith("frame,36002.0"));
  render("late.mkv whole.mp4 --quiet");
  EXPECT_NEAR(
      std::stod(shell("ffprobe -v error -of csv=p=0 -show_entries format=duration whole.mp4")), 6.0,
      0.05);
}

TEST_F(Footage, WhatAFileLacksIsNamedAndTheRestIsWritten) {
  makeFilm("film.mkv", "-c:a libopus");
  makeFilm("film.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -c:a libopus");
  makeFilm("film.mp4", "-c:a aac -movflags +faststart");
  for (const std::string extension : {"mkv", "webm", "mp4"}) {
    const std::string film = read(path("film." + extension));
    write(path("cut." + extension), film.substr(0, film.size() * 2 / 3));
    const std::string message =
        render("cut." + extension + " out.mkv --overwrite --report r.json", 3);
    EXPECT_THAT(message, HasSubstr("of 6.0")) << extension;
    EXPECT_THAT(message, HasSubstr(" seconds are missing at the end")) << extension;
    EXPECT_THAT(report("r.json")["warnings"].dump(), HasSubstr("are missing at the end"));
    EXPECT_GT(report("r.json")["frames"]["rendered"], 50);
    EXPECT_THAT(render("film." + extension + " out.mkv --overwrite --report r.json"), IsEmpty());
    EXPECT_TRUE(report("r.json")["warnings"].empty()) << extension;
    // What was asked for is there.
    EXPECT_THAT(render("cut." + extension + " out.mkv --frames 3-9 --overwrite"), IsEmpty());
  }
  // These state bytes instead of seconds.
  makeClip("film.avi", "s=64x48:r=25:d=2", "-c:v mpeg4");
  makeClip("film.wmv", "s=64x48:r=25:d=2", "-c:v wmv2");
  makeClip("film.ogv", "s=64x48:r=25:d=2", "-c:v libtheora");
  for (const std::string extension : {"avi", "wmv", "ogv"}) {
    const std::string film = read(path("film." + extension));
    write(path("cut." + extension), film.substr(0, film.size() * 2 / 3));
    EXPECT_THAT(render("cut." + extension + " out.mkv --overwrite", 3),
                HasSubstr("bytes before the end that it states"))
        << extension;
    EXPECT_THAT(render("film." + extension + " out.mkv --overwrite"), IsEmpty()) << extension;
    // A file of that name is not standard input.
    std::filesystem::rename(path("cut." + extension), path("-"));
    EXPECT_THAT(render("- out.mkv --overwrite <film." + extension), IsEmpty()) << extension;
  }
  // These state nothing, but end in a way of their own.
  const std::string noEnd = "it lacks the end that a whole file has";
  const std::string halfFrame = "it ends in the middle of a frame";
  for (const auto& [name, options, loss] :
       {std::tuple<std::string, std::string, std::string>{"film.gif", "", noEnd},
        {"film.nut", "-c:v libvpx", noEnd},
        {"film.y4m", "-pix_fmt yuv420p", halfFrame},
        {"film.m2v", "-c:v mpeg2video", halfFrame}}) {
    makeClip(name, "s=64x48:r=25:d=2", options);
    const std::string film = read(path(name));
    write(path("cut-" + name), film.substr(0, film.size() * 2 / 3));
    EXPECT_THAT(render("cut-" + name + " out.mkv --overwrite", 3), HasSubstr(loss)) << name;
    EXPECT_THAT(render(name + " out.mkv --overwrite"), IsEmpty()) << name;
  }
  // Less than seconds tell.
  const std::string film = read(path("film.mkv"));
  write(path("cut.mkv"), film.substr(0, film.size() - 300));
  EXPECT_THAT(render("cut.mkv out.mkv --overwrite", 3),
              HasSubstr("it breaks off, 300 bytes before the end that it states"));
}

TEST_F(Footage, DamageThatTheDecoderHidesIsNamed) {
  makeClip("film.mkv", "s=320x180:r=25:d=4", "-g 12 -bf 0 -qp 18");
  std::string film = read(path("film.mkv"));
  for (std::size_t i = 0; i < 5; ++i) film.replace(film.size() / 2 + i * 3000, 8, 8, '\x55');
  write(path("bad.mkv"), film);
  const std::string message = render("bad.mkv out.mkv --report r.json", 3);
  EXPECT_THAT(message, testing::ContainsRegex("'bad.mkv': [1-9][0-9]* frames? damaged and"));
  EXPECT_THAT(report("r.json")["warnings"].dump(), HasSubstr(" damaged and "));
  EXPECT_THAT(render("bad.mkv out.mkv --overwrite --frames 0-19"), IsEmpty());
  const Result compared = run({"compare", "film.mkv", "bad.mkv"});
  EXPECT_EQ(compared.exitCode, 1);
  EXPECT_THAT(compared.err, HasSubstr("cannot read 'bad.mkv': "));
}

TEST_F(Footage, RecordingsThatWereJoinedGoOnWithoutAGap) {
  makeFilm("film.ts", "-g 12 -bf 2 -c:a mp2");
  shell("ffmpeg -v error -i film.ts -c copy -output_ts_offset 5000 late.ts");
  for (const std::string parts : {"film.ts film.ts", "film.ts late.ts", "late.ts film.ts"}) {
    shell("cat " + parts + " > joined.ts");
    const std::string message = render("joined.ts out.mkv --codec h264 --overwrite");
    EXPECT_THAT(message, HasSubstr("warning: 'joined.ts': its clock jumps after 5.9")) << parts;
    EXPECT_EQ(std::ranges::count(message, '\n'), 1) << message;
    std::istringstream times(probe("out.mkv", "v", "frame=pts_time"));
    double before = 0.0;
    int frames = 0;
    for (std::string line; std::getline(times, line); ++frames) {
      const double time = std::stod(line.substr(line.find(',') + 1));
      EXPECT_NEAR(frames == 0 ? 0.04 : time - before, 0.04, 0.06) << frames << parts;
      before = time;
    }
    EXPECT_EQ(frames, 300) << parts;
    EXPECT_NEAR(static_cast<double>(sound("out.mkv").size()), 12 * 44100, 44100 / 5) << parts;
  }
}

TEST_F(Footage, WhatAContainerCannotHoldIsNamed) {
  write(path("w.srt"), "1\n00:00:00,000 --> 00:00:01,000\nHello\n");
  makeFilm("film.mp4", "-i w.srt -map 0 -map 1 -map 2 -t 1 -c:s mov_text -c:a aac");
  makeClip("pcm.mov", "s=96x64:r=25:d=0.4", "-f lavfi -i sine=d=0.4 -c:a pcm_s16le");
  const std::string noSubtitles = "stream 2, subtitles (mov_text), is left out";
  const std::string noSound = "such a file cannot hold the sound of stream 1 (aac)";
  struct Case {
    const char* arguments;
    int exitCode;
    std::string message;
  };
  for (const Case& c : {Case{"film.mp4 a.ts", 0, noSubtitles},
                        {"film.mp4 a.m2ts", 0, noSubtitles},
                        {"film.mp4 a.nut", 0, noSubtitles},
                        {"film.mp4 a.mpg", 1, noSound},
                        {"film.mp4 b.mpg --no-audio", 0, noSubtitles},
                        {"film.mp4 a.vob", 1, noSound},
                        {"film.mp4 a.mxf", 1, noSound},
                        {"film.mp4 a.ogv --no-audio", 1, "such a file holds no h264"},
                        {"film.mp4 b.ts --codec prores", 1, "such a file holds no prores"},
                        {"film.mp4 a.y4m --codec h264", 1, "such a file holds no h264"},
                        {"film.mp4 a.gif --codec h264", 1, "such a file holds no h264"},
                        {"pcm.mov b.mxf", 1,
                         "prores of 96x64 pixels at 25/1 frames a second, pcm_s16le of 44100"}}) {
    const std::string message = render(c.arguments, c.exitCode);
    EXPECT_THAT(message, HasSubstr(c.message)) << c.arguments;
    EXPECT_EQ(std::ranges::count(message, '\n'), 1) << message;
  }
  EXPECT_EQ(shell("ffprobe -v error -of csv=p=0 -show_entries stream=codec_type b.mpg"), "video\n");
  // The subtitles of Blu-ray discs: one without pictures.
  const std::string head("PG\0\0\xaf\xc8\0\0\0\0\x16\0\x0b\0\x60\0\x40\x10\0\0\x80\0\0\0", 24);
  write(path("disc.sup"), head + std::string("PG\0\0\xaf\xc8\0\0\0\0\x80\0\0", 13));
  shell("ffmpeg -v error -i film.mp4 -i disc.sup -map 0:v -map 1 -c copy disc.m2ts");
  EXPECT_THAT(render("disc.m2ts c.m2ts"), IsEmpty());
  EXPECT_THAT(probe("c.m2ts", "s", "stream=codec_name"), HasSubstr("stream,hdmv_pgs_subtitle\n"));
  EXPECT_THAT(render("disc.m2ts c.ts"), HasSubstr("(hdmv_pgs_subtitle), is left out"));
  EXPECT_FALSE(std::filesystem::exists(path("b.mxf")));
  EXPECT_THAT(render("pcm.mov b.mxf --no-audio"), IsEmpty());
  EXPECT_EQ(probe("b.mxf", "v", "stream=codec_name,nb_read_frames -count_frames"),
            "stream,prores,10\n");
}

TEST_F(Footage, SubtitlesAreConvertedAndWhatHasNoPlaceIsNamed) {
  write(path("w.srt"),
        "1\n00:00:00,500 --> 00:00:01,500\nHello\n\n2\n00:00:02,500 --> 00:00:05,500\nWorld\n");
  makeFilm("film.mp4", "-i w.srt -map 0 -map 1 -map 2 -c:s mov_text -c:a aac");
  EXPECT_EQ(
      render("film.mp4 s.##.png --frames 0-2 --report s.json"),
      "warning: 's.##.png': sound is left out, since pictures have none (name a video, or add "
      "--no-audio)\nwarning: 's.##.png': subtitles are left out, since pictures have none "
      "(name a video, or add --no-subtitles)\n");
  EXPECT_EQ(report("s.json")["warnings"].size(), 2);
  EXPECT_THAT(render("film.mp4 t.##.png --frames 0-2 --no-audio --no-subtitles"), IsEmpty());
  EXPECT_THAT(render("film.mp4 a.mkv --codec h264"), IsEmpty());
  const std::string packets = "packet=pts_time,duration_time";
  EXPECT_EQ(probe("a.mkv", "s", packets), "packet,0.500000,1.000000\npacket,2.500000,3.000000\n");
  EXPECT_EQ(probe("a.mkv", "s", "stream=codec_name"), "stream,subrip\n");
  render("a.mkv b.mp4 --frames 50-74 --quiet");
  EXPECT_THAT(shell("ffmpeg -v error -i b.mp4 -map s -f srt -"),
              HasSubstr("00:00:00,500 --> 00:00:01,000\nWorld"));
  EXPECT_THAT(render("film.mp4 a.avi --codec h264"),
              HasSubstr("warning: 'film.mp4': stream 2, subtitles (mov_text), is left out"));
  EXPECT_THAT(render("film.mp4 c.mkv --no-subtitles --no-audio"), IsEmpty());
  EXPECT_EQ(shell("ffprobe -v error -of csv=p=0 -show_entries stream=codec_type c.mkv"), "video\n");
  render("film.mp4 d.mp4 --video-only --quiet");
  EXPECT_EQ(shell("ffprobe -v error -of csv=p=0 -show_entries stream=codec_type d.mp4"), "video\n");
}

TEST_F(Footage, ChaptersCoversAndTimecodesStayOrAreNamed) {
  write(path("m.txt"),
        ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=2400\ntitle=One\n"
        "[CHAPTER]\nTIMEBASE=1/1000\nSTART=2400\nEND=6000\ntitle=Two\n");
  ASSERT_EQ(run({"testcard", "card.png", "--size", "32x32"}).exitCode, 0);
  makeFilm("plain.mp4", "-c:a aac -timecode 01:00:00:00");
  shell(
      "ffmpeg -v error -i plain.mp4 -i m.txt -i card.png -map 0:0 -map 0:1 -map 2 -map_chapters 1 "
      "-c copy "
      "-disposition:v:1 attached_pic -metadata title=Name film.mp4");
  const std::string chapters =
      " -v error -of csv=p=0 -show_entries chapter=start_time,end_time:chapter_tags=title ";
  for (const std::string out : {"a.mp4", "b.mkv"}) {
    EXPECT_THAT(render("film.mp4 " + out + " --codec h264"), IsEmpty());
    EXPECT_EQ(shell("ffprobe" + chapters + out), shell("ffprobe" + chapters + "film.mp4")) << out;
    EXPECT_EQ(shell("ffprobe -v error -of csv=p=0 -show_entries format_tags=title " + out),
              "Name\n");
    EXPECT_THAT(probe(out, "v:1", "stream=codec_name:stream_disposition=attached_pic"),
                HasSubstr("png,1"));
    shell("ffmpeg -v error -y -i " + out + " -map v:1 -c copy cover.png");
    EXPECT_EQ(read(path("cover.png")), read(path("card.png"))) << out;
  }
  EXPECT_THAT(render("film.mp4 c.mov"), HasSubstr("cover art (png), is left out"));
  render("film.mp4 d.mp4 --frames 50-74 --quiet");
  EXPECT_EQ(shell("ffprobe" + chapters + "d.mp4"),
            "0.000000,0.400000,One\n0.400000,1.000000,Two\n");
  render("plain.mp4 e.mov --frames 50-74 --quiet");
  EXPECT_THAT(probe("e.mov", "v", "stream_tags=timecode"), HasSubstr("01:00:02:00"));
}

TEST_F(Footage, LightLevelsFieldsAndTransparencyStayOrAreNamed) {
  // HDR10 whose light levels are in the frames only.
  makeClip("hdr.mp4", "s=96x64:r=25:d=0.4",
           "-c:v libx265 -pix_fmt yuv420p10le -x265-params "
           "log-level=none:hdr10=1:colorprim=bt2020:transfer=smpte2084:colormatrix=bt2020nc:"
           "master-display='G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,1)':"
           "max-cll=1000,400");
  const std::string light =
      "stream_side_data=max_content,max_average,max_luminance,red_x:stream=color_transfer";
  for (const std::string out : {"a.mp4 --codec h264", "b.mkv --codec h264"}) {
    EXPECT_THAT(render("hdr.mp4 " + out), IsEmpty());
    EXPECT_THAT(probe(out.substr(0, 5), "v", light),
                testing::AllOf(HasSubstr("smpte2084"), HasSubstr("1000,400"),
                               testing::ContainsRegex("34000/50000|17/25")))
        << out;
  }
  EXPECT_THAT(render("hdr.mp4 c.avi"), HasSubstr("light levels of HDR are left out"));
  makeClip("fields.mov", "s=96x64:r=25:d=0.4", "-c:v prores -flags +ildct -top 1 -field_order tt");
  for (const std::string out : {"d.mov", "e.mkv", "f.mp4"}) {
    EXPECT_THAT(render("fields.mov " + out), IsEmpty());
    EXPECT_THAT(probe(out, "v", "stream=field_order"), HasSubstr("tt")) << out;
  }
  EXPECT_THAT(render("fields.mov g.avi"), HasSubstr("interlaced is left out"));
  makeClip("clear.mov", "s=96x64:r=25:d=0.4", "-c:v png -vf format=rgba,colorchannelmixer=aa=0.5");
  EXPECT_THAT(render("clear.mov h.mp4 --report r.json"), HasSubstr("transparency is left out"));
  EXPECT_THAT(report("r.json")["warnings"].dump(), HasSubstr("transparency"));
  EXPECT_THAT(render("clear.mov i.mov"), IsEmpty());
  const std::string left = "transparency is left out, colours are written as they are (.jpg";
  EXPECT_EQ(render("clear.mov k.##.jpg --report k.json"),
            "warning: 'k.##.jpg': " + left + " files have none; .png files do)\n");
  EXPECT_EQ(report("k.json")["warnings"].size(), 1);
  EXPECT_THAT(render("clear.mov l.jpg --frames 3"), HasSubstr(left));
  EXPECT_THAT(render("clear.mov l.##.png"), IsEmpty());
  makeClip("opaque.mov", "s=96x64:r=25:d=0.4", "-c:v png -vf format=rgba");
  EXPECT_THAT(render("opaque.mov j.mp4"), IsEmpty());
  EXPECT_THAT(render("opaque.mov j.##.jpg"), IsEmpty());
}

TEST_F(Footage, FieldsBecomeFramesOfOneTimeWhenAsked) {
  // A bar that moves 8 pixels from field to field: each frame has it at two places.
  shell(
      "ffmpeg -v error -f lavfi -i color=black:s=96x64:r=50:d=1 -f lavfi -i "
      "color=white:s=8x64:r=50 "
      "-filter_complex '[0][1]overlay=x=n*8-8*floor(n*8/88)*11:shortest=1,"
      "tinterlace=interleave_top,setfield=tff,format=yuv422p10' -c:v prores -flags +ildct -top 1 "
      "-field_order tt fields.mov");
  shell("ffmpeg -v error -i fields.mov -vf setfield=prog -c:v ffv1 unmarked.mkv");
  const std::string plain = " --set blend-w-original=100 --overwrite";
  // How much neighbouring rows of the result differ.
  const auto combing = [this](const std::string& name) {
    const std::string out =
        shell("ffmpeg -hide_banner -i " + name + " -vf idet -f null - 2>&1 | tail -1");
    std::smatch match;
    EXPECT_TRUE(std::regex_search(out, match, std::regex("Progressive: *([0-9]+)"))) << out;
    return 25 - std::stoi(match[1]);
  };
  EXPECT_THAT(render("fields.mov kept.mov" + plain), IsEmpty());
  EXPECT_GT(combing("kept.mov"), 20);
  EXPECT_THAT(render("fields.mov whole.mov --deinterlace" + plain), IsEmpty());
  EXPECT_LT(combing("whole.mov"), 5);
  EXPECT_EQ(probe("whole.mov", "v", "frame=pts_time,interlaced_frame"),
            std::regex_replace(probe("fields.mov", "v", "frame=pts_time,interlaced_frame"),
                               std::regex(",1\n"), ",0\n"));
  EXPECT_THAT(render("unmarked.mkv guess.mkv --deinterlace" + plain),
              HasSubstr("no frame is marked as interlaced; all are taken for it"));
  EXPECT_LT(combing("guess.mkv"), 5);
  // Trims count the same frames.
  render("fields.mov trim.mkv --deinterlace --frames 7-9 --quiet" + plain);
  EXPECT_EQ(probe("trim.mkv", "v", "stream=nb_read_frames -count_frames"), "stream,3\n");
  shell("ffmpeg -v error -i whole.mov -vf 'select=between(n\\,7\\,9)' -vsync 0 -c:v ffv1 cut.mkv");
  EXPECT_EQ(run({"compare", "trim.mkv", "cut.mkv", "--fail-above", "8"}).exitCode, 0);
  EXPECT_EQ(run({"testcard", "card.png"}).exitCode, 0);
  const Result still = run({"render", "card.png", "new.png", "--deinterlace"});
  EXPECT_EQ(still.exitCode, 2);
  EXPECT_THAT(still.err, HasSubstr("is no video (leave it out"));
}

TEST_F(Footage, PicturesOfSeveralFramesAreVideosWhateverTheirName) {
  makeClip("a.gif", "s=32x32:r=10:d=0.5", "");
  makeClip("a.apng", "s=32x32:r=10:d=0.5", "-plays 0");
  std::filesystem::rename(path("a.apng"), path("b.png"));
  makeClip("c.webp", "s=32x32:r=10:d=0.5", "-c:v libwebp_anim -lossless 1");
  makeClip("one.gif", "s=32x32:r=10:d=0.1", "-frames:v 1");
  // The first two are alike, and become one in a WebP.
  for (const auto& [in, frames] :
       {std::pair<std::string, std::string>{"a.gif", "5"}, {"b.png", "5"}, {"c.webp", "4"}}) {
    render(in + " out.mkv --overwrite --quiet");
    EXPECT_EQ(probe("out.mkv", "v", "stream=nb_read_frames -count_frames"),
              "stream," + frames + "\n");
    EXPECT_THAT(render(in + " one.png", 2), HasSubstr("one picture for several frames"));
  }
  render("c.webp part.mkv --frames 0.2s-0.4s --quiet");
  EXPECT_EQ(probe("part.mkv", "v", "frame=pts_time"), "frame,0.000000\nframe,0.100000\n");
  const std::string whole = read(path("c.webp"));
  write(path("c.webp"), whole.substr(0, whole.size() * 4 / 5));
  EXPECT_THAT(render("c.webp out.mkv --overwrite", 1), HasSubstr("damaged or not whole"));
  std::string damaged = whole;
  const std::size_t third =
      damaged.find("ANMF", damaged.find("ANMF", damaged.find("ANMF") + 1) + 1);
  std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(third) + 60, 60, '\xff');
  write(path("c.webp"), damaged);
  EXPECT_THAT(render("c.webp out.mkv --overwrite", 3), HasSubstr("breaks off"));
  render("one.gif one.png --quiet");
  write(path("broken.gif"), std::string("GIF89a\x20\0\x20\0\xf7\0\0", 13));
  EXPECT_THAT(render("broken.gif broken.png", 1), StartsWith("error: "));
}

TEST_F(Footage, EveryCodecKeepsTimesDepthAndTransparency) {
  makeClip("deep.mkv", "s=96x64:r=25:d=0.4", "-pix_fmt gbrp16le -c:v ffv1");
  makeClip("odd.mkv", "s=96x64:r=25:d=0.4", "-vf scale=95:63 -pix_fmt gbrp16le -c:v ffv1");
  makeClip("clear.mkv", "s=96x64:r=25:d=0.4", "-vf format=bgra,colorchannelmixer=aa=0.5 -c:v ffv1");
  struct Case {
    const char* in;
    const char* arguments;
    const char* stream;
  };
  for (const Case& c : {Case{"deep.mkv", "a.mp4", "h264,96,64,yuv420p10le"},
                        {"deep.mkv", "b.mp4 --codec hevc", "hevc,96,64,yuv420p10le"},
                        {"deep.mkv", "c.webm", "vp9,96,64,yuv420p10le"},
                        {"clear.mkv", "d.webm", "vp9,96,64,yuv420p"},
                        {"clear.mkv", "e.apng", "apng,96,64,rgba"},
                        {"deep.mkv", "f.gif", "gif,96,64,bgra"},
                        {"deep.mkv", "f.mp4 --depth 8", "h264,96,64,yuv420p"},
                        {"odd.mkv", "i.mp4", "h264,95,63,yuv444p10le"},
                        {"odd.mkv", "j.mp4 --codec hevc", "hevc,95,63,yuv444p10le"},
                        {"odd.mkv", "k.webm", "vp9,95,63,yuv444p10le"}}) {
    EXPECT_THAT(render(std::string(c.in) + " " + c.arguments), IsEmpty());
    const std::string out(c.arguments, std::strcspn(c.arguments, " "));
    EXPECT_EQ(probe(out, "v", "stream=codec_name,width,height,pix_fmt"),
              std::string("stream,") + c.stream + "\n");
    EXPECT_EQ(probe(out, "v", "frame=pts_time"), probe(c.in, "v", "frame=pts_time")) << out;
  }
  EXPECT_THAT(probe("d.webm", "v", "stream_tags=alpha_mode"), HasSubstr("1"));
  EXPECT_THAT(probe("a.mp4", "v", "stream=color_range"), HasSubstr("tv"));
  EXPECT_THAT(render("clear.mkv g.webp"), IsEmpty());
  EXPECT_THAT(read(path("g.webp")).substr(0, 64), HasSubstr("ANIM"));
  render("clear.mkv g.mkv --quiet");
  EXPECT_EQ(run({"compare", "g.webp", "g.mkv", "--fail-above", "0"}).exitCode, 0);
  EXPECT_THAT(render("clear.mkv g.gif"), HasSubstr("alpha becomes all or nothing"));
  // 256 colours of its own for each frame: near to what was drawn.
  render("deep.mkv frames.mkv --quiet");
  EXPECT_EQ(run({"compare", "f.gif", "frames.mkv", "--fail-above", "80"}).exitCode, 0);
  EXPECT_EQ(run({"compare", "f.gif", "frames.mkv", "--fail-above", "1"}).exitCode, 1);
  render("deep.mkv small.mp4 --crf 45 --quiet");
  EXPECT_LT(std::filesystem::file_size(path("small.mp4")),
            std::filesystem::file_size(path("a.mp4")) * 2 / 3);
}

TEST_F(Footage, FilesAreFilmsPicturesOrNeither) {
  for (const auto& [name, options] : {std::pair<std::string, std::string>{"film.rm", "-c:v rv10"},
                                      {"film.ogm", "-c:v libtheora -f ogg"},
                                      {"film.divx", "-c:v mpeg4 -f avi"},
                                      {"film.m2t", "-f mpegts"}}) {
    makeClip(name, "s=96x64:r=25:d=0.2", options);
    EXPECT_THAT(render(name + " out.mkv --overwrite"), IsEmpty());
    EXPECT_EQ(probe("out.mkv", "v", "stream=nb_read_frames -count_frames"), "stream,5\n") << name;
  }
  write(path("notes.abc"), "neither");
  EXPECT_EQ(render("notes.abc out.png", 1),
            "error: cannot read 'notes.abc': it is no picture of a known format (name another "
            "file)\n");
}

TEST_F(Footage, FramesOfFewPixelsAreStoredWithoutLoss) {
  for (const std::string size : {"1:1", "4:4", "96:1", "96:2", "96:4", "1:96", "7:7", "8:8"}) {
    makeClip("film.mov", "s=96x96:r=25:d=0.2", "-y -vf scale=" + size + " -c:v png");
    render("film.mov film.mkv --set blend-w-original=100 --overwrite --quiet");
    EXPECT_EQ(run({"compare", "film.mov", "film.mkv", "--fail-above", "0"}).exitCode, 0) << size;
  }
}

TEST_F(Footage, TimesAndTurnsAreThoseOfThePictures) {
  const std::string look = " --set Noise=30 --set 'Vertical Sync=30' --overwrite --quiet";
  makeClip("film.mkv", "s=96x64:r=25:d=0.4", "-vf format=bgr0 -c:v ffv1");
  shell("ffmpeg -v error -i film.mkv -c copy -output_ts_offset 500 late.mkv");
  render("film.mkv a.png --frames 3" + look);
  render("late.mkv b.png --frames 3" + look);
  EXPECT_EQ(read(path("a.png")), read(path("b.png")));
  // A sequence with a gap, and a picture turned by its container.
  shell("ffmpeg -v error -i film.mkv f.%02d.png; rm f.03.png f.04.png");
  render("f.%02d.png gap.mkv --fps 25 --quiet");
  EXPECT_THAT(probe("gap.mkv", "v", "frame=pts_time"),
              StartsWith("frame,0.000000\nframe,0.040000\nframe,0.160000\n"));
  shell("ffmpeg -v error -i film.mkv -c:v libx264 -qp 0 -pix_fmt yuv444p flat.mp4");
  shell("ffmpeg -v error -i flat.mp4 -c copy -metadata:s:v rotate=90 turned.mp4");
  render("turned.mp4 same.mp4 --crf 1 --quiet --set blend-w-original=100");
  const Result same = run({"compare", "turned.mp4", "same.mp4"});
  EXPECT_THAT(same.out, testing::ContainsRegex("mean [2-9][0-9]\\.")) << same.out;
  EXPECT_THAT(probe("same.mp4", "v", "stream=width,height:stream_side_data=rotation"),
              HasSubstr("96,64"));
  // Kept frames are counted, and failures have the numbers of their frames.
  write(path("f.07.png"), "no picture");
  const Result kept = run({"render", "f.%02d.png", "f-%02d.png", "--report", "r.json"});
  EXPECT_EQ(kept.exitCode, 3);
  EXPECT_EQ(report("r.json")["failures"][0]["frame"], 7);
  std::filesystem::remove(path("f-05.png"));
  std::filesystem::remove(path("f.07.png"));
  const Result again = run({"render", "f.%02d.png", "f-%02d.png", "--skip-existing"});
  EXPECT_THAT(again.out, HasSubstr(": 1 frame, 6 frames kept in "));
}

TEST_F(Footage, FramesAreChosenByNumberTimeAndTimecode) {
  makeClip("film.mov", "s=96x64:r=25:d=4", "-c:v png -timecode 10:00:00:00");
  shell(
      "ffmpeg -v error -i film.mov -c copy -timecode '' plain.mkv; ffmpeg -v error -i film.mov "
      "all.%03d.png");
  struct Case {
    const char* in;
    const char* frames;
    int first, last;
  };
  for (const Case& c : {Case{"film.mov", "10-19", 10, 19},
                        {"film.mov", "0.4s-0.8s", 10, 19},
                        {"film.mov", "10:00:01:00-10:00:01:04", 25, 29},
                        {"film.mov", "10:00:02:03", 53, 53},
                        {"film.mov", "1s", 25, 25},
                        {"film.mov", "3.5s-99s", 88, 99},
                        {"all.%03d.png", "0.4s-0.8s", 10, 19}}) {
    std::filesystem::remove_all(path("out"));
    std::filesystem::create_directory(path("out"));
    const std::string rate = c.in[0] == 'a' ? " --fps 25" : "";
    render(std::string(c.in) + " out/f.%03d.png --quiet --frames " + c.frames + rate);
    const auto count = std::distance(std::filesystem::directory_iterator(path("out")), {});
    EXPECT_EQ(count, c.last - c.first + 1) << c.frames;
    for (const int n : {c.first, c.last}) {
      EXPECT_TRUE(
          std::filesystem::exists(path("out/f." + std::to_string(1000 + n).substr(1) + ".png")))
          << c.frames << n;
    }
  }
  render("film.mov one.png --frames 1.02s --quiet --set blend-w-original=100");
  EXPECT_EQ(run({"compare", "one.png", "all.026.png", "--fail-above", "0"}).exitCode, 0);
  render("film.mov none.mov --frames 7s-8s", 1);
  render("film.mov none.mov --frames 09:00:00:00", 2);
  render("film.mov none.mov --frames 2s-1s", 2);
  const auto sheet = [&](const std::string& in, const std::string& out,
                         std::vector<std::string> more) {
    more.insert(more.begin(), {"sheet", in, out, "--sweep", "Noise=0,50"});
    EXPECT_EQ(run(more).exitCode, 0);
    return read(path(out));
  };
  EXPECT_EQ(sheet("film.mov", "a.png", {"--frame", "2s"}), sheet("all.051.png", "b.png", {}));
}

TEST_F(Footage, AVideoHasItsNameOnlyWhenNothingIsWrittenToItAnyMore) {
  makeFilm("film.mp4", "-c:a aac");
  for (const std::string overwrite : {"", " --overwrite"}) {
    const int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, folder_.c_str(), IN_CREATE | IN_MOVED_TO | IN_MODIFY), 0);
    render("film.mp4 out.mp4 --quiet" + overwrite);
    std::vector<char> events(1 << 20);
    const ssize_t size = ::read(watch, events.data(), events.size());
    close(watch);
    bool named = false;
    for (ssize_t at = 0; at < size;) {
      inotify_event event;
      std::memcpy(&event, events.data() + at, sizeof event);
      const std::string name = events.data() + at + sizeof event;
      at += static_cast<ssize_t>(sizeof event + event.len);
      EXPECT_FALSE(named && (event.mask & IN_MODIFY) != 0) << name << overwrite;
      if (name == "out.mp4" && (event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) named = true;
    }
    EXPECT_TRUE(named) << overwrite;
  }
}

TEST_F(Footage, MpegStreamsThatAreCutAreNamed) {
  makeFilm("film.ts", "-g 12 -c:a mp2");
  shell(
      "ffmpeg -v error -i film.ts -c copy -mpegts_m2ts_mode 1 film.m2ts; ffmpeg -v error -i "
      "film.ts "
      "-c:v mpeg2video -c:a copy film.mpg; tail -c +500 film.ts > joined.ts");
  const std::string cut = "it ends in the middle of a frame, and does not say how much is missing";
  for (const std::string name : {"film.ts", "film.m2ts", "film.mpg", "joined.ts"}) {
    EXPECT_THAT(render(name + " o.mkv --overwrite"), IsEmpty());
    const std::string whole = read(path(name));
    const std::string part = "part" + std::filesystem::path(name).extension().string();
    write(path(part), whole.substr(0, whole.size() / 2 / 188 * 188 + 21));
    EXPECT_THAT(render(part + " o.mkv --overwrite --report r.json", 3),
                HasSubstr("error: '" + part + "': " + cut));
    EXPECT_THAT(report("r.json")["warnings"].dump(), HasSubstr(cut)) << name;
    // The missing end is not among these frames.
    EXPECT_THAT(render(part + " o.mkv --overwrite --frames 0-9"), IsEmpty());
  }
  // Between two transport packets, within a packet of sound or within a frame.
  shell(
      "ffmpeg -v error -i film.ts -c:v libx265 -preset ultrafast -x265-params log-level=none "
      "-c:a copy hevc.ts");
  for (const std::string name : {"film.ts", "hevc.ts"}) {
    const std::string whole = read(path(name));
    int cuts = 0;
    int guesses = 0;
    const std::size_t half = whole.size() / 2 / 188;
    for (std::size_t packets = half; packets < half + 40; packets += 3) {
      write(path("part.ts"), whole.substr(0, packets * 188));
      const Result result = run({"render", "part.ts", "o.mkv", "--overwrite"});
      if (result.exitCode == 3) ++cuts;
      if (result.err.find("warning: 'part.ts': the last frame seems to lack") == 0) ++guesses;
      EXPECT_TRUE(result.exitCode == 3 || result.exitCode == 0) << result.err;
    }
    EXPECT_GT(cuts, 0) << name;
    // This decoder does not tell.
    EXPECT_EQ(guesses > 0, name == "hevc.ts");
  }
  // As blocks of a disc were copied: no packet is cut.
  const std::string program = read(path("film.mpg"));
  constexpr std::size_t kBlock = 2048;
  int cuts = 0;
  for (std::size_t eighths = 1; eighths < 8; ++eighths) {
    write(path("part.mpg"), program.substr(0, program.size() * eighths / 8 / kBlock * kBlock));
    cuts += run({"render", "part.mpg", "o.mkv", "--overwrite"}).exitCode == 3 ? 1 : 0;
  }
  EXPECT_GE(cuts, 6);
}

TEST_F(Footage, ComparisonsLookAtEveryFrame) {
  makeClip("a.mkv", "s=96x64:r=25:d=0.4", "-vf format=bgr0 -c:v ffv1");
  shell(
      "ffmpeg -v error -i a.mkv -vf \"drawbox=5:5:2:2:white:fill:enable='eq(n,7)',format=bgr0\" "
      "-c:v ffv1 b.mkv");
  shell(
      "ffmpeg -v error -i a.mkv -frames:v 8 -c copy short.mkv; ffmpeg -v error -i a.mkv "
      "f.%02d.png");
  const auto compare = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "compare");
    return run(arguments);
  };
  EXPECT_EQ(compare({"a.mkv", "a.mkv", "--fail-above", "0"}).exitCode, 0);
  const Result differs = compare({"a.mkv", "b.mkv", "worst.png"});
  EXPECT_EQ(differs.exitCode, 0);
  EXPECT_THAT(differs.out,
              HasSubstr("frames compared: 10, 1 differ\nlargest difference: frame 7, "));
  EXPECT_THAT(differs.out, HasSubstr("in frame 7\n"));
  EXPECT_TRUE(names().contains("worst.png"));
  EXPECT_EQ(compare({"a.mkv", "b.mkv", "--fail-above", "3"}).exitCode, 1);
  EXPECT_EQ(compare({"a.mkv", "b.mkv", "--fail-above", "1.0"}).exitCode, 0);
  const Result shorter = compare({"a.mkv", "short.mkv", "--fail-above", "255"});
  EXPECT_EQ(shorter.exitCode, 1);
  EXPECT_THAT(shorter.out, HasSubstr("only in 'a.mkv': frames 8-9\n"));
  EXPECT_THAT(compare({"a.mkv", "f.%02d.png"}).out, HasSubstr("the frames are the same"));
  std::filesystem::remove(path("f.04.png"));
  std::filesystem::copy_file(path("f.05.png"), path("g.05.png"));
  EXPECT_THAT(compare({"f.%02d.png", "g.%02d.png"}).out,
              HasSubstr("only in 'f.%02d.png': frames 1-3, 6-10"));
  EXPECT_EQ(compare({"a.mkv", "b.mkv", "--fail-above", "much"}).exitCode, 2);
}

}  // namespace
}  // namespace lomix
