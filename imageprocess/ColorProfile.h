#pragma once
// Colour profiles and transforms of the pixel library, over a colour management engine kept out of
// this header. Profiles are values (ICC bytes plus a name); transforms are cached by the library and
// live until Uninitialize, so callers hold plain const pointers to them.
#include "common/CImageDataInfo.h"
#include "common/ValueTypes.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ImageProcess {

class ColorProfile;
namespace detail {
// The engine's handle of a transform, for the library's own pixel loops.
void* TransformHandle(const void* transform);
// The handle of a transform between the same profiles from and to 8-bit B, G, R, A; null when there
// is none. Cached on the transform, so it is cheap to ask for every row.
void* DisplayTransformHandle(const void* transform);
// Grid points a side of the display table.
constexpr int kDisplayLutSide = 33;
// Position 0..1 of grid point i on each axis: denser near black, where tone curves are steepest.
inline double DisplayLutGrid(int i) {
    const double t = static_cast<double>(i) / (kDisplayLutSide - 1);
    return t * t;
}
// A kDisplayLutSide^3 table of the transform sampled from 16-bit B, G, R, four 16-bit values an entry
// (B, G, R, unused), index (r * side + g) * side + b; built once per transform. Null when the
// profiles cannot be sampled.
const uint16_t* DisplayLut(const void* transform);
// Between two matrix-shaper RGB profiles a transform is three tone curves, a 3 x 3 matrix and three
// inverse curves: far cheaper per pixel than any table. The tables below fit the first-level cache
// together, which a photo with many colours needs: looked up at random they would otherwise cost more
// than the arithmetic.
struct DisplayShaper {
    static constexpr int kOutSize = 4096;
    // Per input channel j and 8-bit value: column j of the matrix times the linear value, as B, G, R
    // out and a zero, so that a pixel's linear output is the sum of three rows.
    alignas(16) float in[3][256][4];
    // sqrt(linear) * kOutSize -> 8-bit value. Indexed by the square root, the steps are finest near
    // black, where tone curves are steepest, and no curve needs more than a fraction of a level.
    uint8_t out[3][kOutSize + 1];
};
// Null when either profile is not matrix-shaper RGB. Built once per transform.
const DisplayShaper* DisplayShaperOf(const void* transform);
} // namespace detail

class ColorProfile {
public:
    // Pixel formats a transform reads and writes. Channel order in memory is B, G, R (, A), as in
    // CImageDataInfo, except RGB_DBL: three doubles R, G, B in 0..1.
    enum FORMAT {
        FORMAT_NONE = 0,
        FORMAT_GRAY_8,
        FORMAT_GRAY_16,
        FORMAT_BGR_8,
        FORMAT_BGR_16,
        FORMAT_BGRA_8,
        FORMAT_BGRA_16,
        FORMAT_RGB_DBL,
    };

    enum INTENT { INTENT_PERCEPTUAL = 0, INTENT_RELATIVE = 1, INTENT_SATURATION = 2, INTENT_ABSOLUTE = 3 };

    // An ICC profile held as its bytes.
    class Profile {
    public:
        Profile() = default;
        // Takes the bytes of an ICC profile; the profile stays invalid when they do not parse.
        Profile(const void* icc, size_t size, const std::string& name = std::string());
        bool IsValid() const { return !m_icc.empty(); }
        const std::string& Name() const { return m_name; }
        const std::vector<unsigned char>& Data() const { return m_icc; }
        bool IsGray() const { return m_gray; }
        bool operator==(const Profile& o) const { return m_icc == o.m_icc; }

    private:
        std::vector<unsigned char> m_icc;
        std::string m_name;
        bool m_gray = false;
    };

    // A colour transform between two profiles with its input and output formats.
    class TRANSFORM {
    public:
        ~TRANSFORM();
        TRANSFORM(const TRANSFORM&) = delete;
        TRANSFORM& operator=(const TRANSFORM&) = delete;
        FORMAT InputFormat() const { return m_input; }
        FORMAT OutputFormat() const { return m_output; }
        const Profile& From() const { return m_from; }
        const Profile& To() const { return m_to; }
        int Intent() const { return m_intent; }

    private:
        friend class ColorProfile;
        friend void* detail::TransformHandle(const void* transform);
        friend void* detail::DisplayTransformHandle(const void* transform);
        friend const uint16_t* detail::DisplayLut(const void* transform);
        friend const detail::DisplayShaper* detail::DisplayShaperOf(const void* transform);
        TRANSFORM() = default;
        Profile m_from, m_to;
        FORMAT m_input = FORMAT_NONE, m_output = FORMAT_NONE;
        int m_intent = 0;
        unsigned m_flags = 0;
        void* m_handle = nullptr;
        mutable std::atomic<const TRANSFORM*> m_display{nullptr};
        mutable std::once_flag m_lutOnce;
        mutable std::vector<uint16_t> m_lut;
        mutable std::once_flag m_shaperOnce;
        mutable std::unique_ptr<detail::DisplayShaper> m_shaper;
    };

    static const Profile& GetSRGBProfile();
    // sRGB unless the host set another.
    static const Profile& GetWorkingProfile();
    static bool SetWorkingProfile(const Profile& profile);
    // The working profile's primaries and white with linear tone curves.
    static const Profile& GetLinearWorkingProfile();
    // The profile of the screen: the _ICC_PROFILE property of the X11 root window when present,
    // else sRGB. display names an X display; null means the default one.
    static const Profile& GetMonitorProfile(const char* display);

    // Profiles offered by name for saving: the built-in ones, then those installed on the system.
    static std::vector<std::string> GetProfileNames();
    // Null when no profile of that name is known (names compare case-insensitively).
    static const Profile* GetProfileByName(const std::string& name);
    static bool LoadProfileFile(const std::string& path, Profile& profile);

    // A cached transform, or null when a profile is invalid or the formats do not suit the profiles.
    static const TRANSFORM* GetTransform(const Profile& from, const Profile& to, FORMAT input, FORMAT output,
                                         int intent = INTENT_PERCEPTUAL);
    // Converts count pixels of the transform's input format to its output format.
    static bool DoTransform(const TRANSFORM* transform, const void* input, void* output, int count);
    // Converts samples whose values run 0..fullScale in R, G, B order (v[0] red), whatever the
    // transform's own formats: the same two profiles are used.
    static bool DoTransform(const TRANSFORM* transform, const COLORVALS* input, COLORVALS* output, int count,
                            double fullScale = 1.0);
    // Converts input into the prepared output image of the same size. 1, 3 or 4 channels, 8 or 16 bit on
    // either side: grey input is spread to three channels, alpha is copied (or set opaque), a grey output
    // takes the luminance. proof, when not null, simulates that device on the way. Allocates nothing.
    static bool TransformImage(CImageDataInfo& output, const CImageDataInfo& input, int intent,
                               int blackPointCompensation, const Profile& from, const Profile& to,
                               const Profile* proof, void (*progress)(int, int));
    // Bytes of one pixel of a format; 0 for FORMAT_NONE or an unknown value.
    static int TransformFormatToPixelSize(FORMAT format);

    // Frees the cached transforms (pointers handed out become invalid) and the monitor profile.
    static void ReleaseCache();

private:
    static const TRANSFORM* GetTransformWithFlags(const Profile& from, const Profile& to, FORMAT input,
                                                  FORMAT output, int intent, unsigned flags);
};

} // namespace ImageProcess
