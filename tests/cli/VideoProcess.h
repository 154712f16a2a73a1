// A fixture for tests that run the built command on videos of ffmpeg's.
#pragma once

#include <string>

#include "cli/CommandProcess.h"

namespace lomix {

/// Makes videos with ffmpeg and looks at them with ffprobe.
class Video : public CommandProcess {
 protected:
#ifdef __SANITIZE_ADDRESS__
  // The video libraries' objects are those that are easily kept.
  Video() { checksLeaks_ = true; }
#endif

  /// Returns the output of a shell command, which has to succeed.
  std::string shell(const std::string& command) {
    const Result result = finish(startProgram({"sh", "-c", "set -e; " + command}));
    EXPECT_EQ(result.exitCode, 0) << command << result.err;
    return result.out;
  }
  /// Makes a clip of ffmpeg's moving test picture. source: size, rate and length.
  void makeClip(const std::string& name, const std::string& source, const std::string& options) {
    shell("ffmpeg -v error -f lavfi -i testsrc2=" + source + " " + options + " " + name);
  }
  std::string probe(const std::string& name, const std::string& streams, const std::string& what) {
    return shell("ffprobe -v error -of csv -select_streams " + streams + " -show_data_hash md5 " +
                 "-show_entries " + what + " " + name + " | sed 's/,side_data,$//;/^$/d'");
  }
  const std::string kLook =
      " --set Noise=30 --set 'Vertical Sync=30' --set 'Scan Distortion=40' --set 'Bars Overlay=20'";
};

}  // namespace lomix
