// The atom readers from CMoov down on any bytes, taken as the body of a
// moov, and what the MOV engine then asks of such a movie: the getters of
// GFile, the rebuilt movie (with empty requests) and its writing.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzWorkspace.h"
#include "container/GFile.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const tolmi::fuzz::Workspace workspace;
    if (size > UINT32_MAX - 8) return 0;
    tolmi::Session().reset();

    std::vector<uint8_t> atom;
    tolmi::ByteWriter header(atom);
    header.u32be(uint32_t(size + 8));
    header.fourcc(tolmi::FourCC("moov"));
    atom.insert(atom.end(), data, data + size);

    tolmi::GFile file;
    file.movie = file.Arena().Make<tolmi::CMoov>(atom.data(), uint32_t(atom.size()), file.Arena());
    if (file.movie->tracks.empty()) return 0;  // the scan keeps no movie without tracks

    file.GetLengthSize();
    file.GetSps();
    file.GetPps();
    file.GetVps();
    file.GetVideoRate();
    file.GetAudioRate();
    file.GetVideoTimeScale();
    file.GetAudioTimeScale();
    file.GetAacConfig();
    file.GetMovieDuration();
    file.GetFirstTrackTimeScale();

    tolmi::CMoov* rebuilt = file.BuildRepairedMovie(nullptr, nullptr);
    if (!rebuilt) return 0;
    const std::string path = workspace.File("movie.mov");
    tolmi::File out;
    if (!out.open(path, tolmi::FileAccess::ReadWrite, tolmi::FileCreation::CreateAlways)) __builtin_trap();
    rebuilt->WriteMovie(out);
    return 0;
}
