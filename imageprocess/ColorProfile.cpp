// Colour profiles and transforms over LittleCMS 2. Transforms are created once per pair of profiles,
// formats and options and kept until ReleaseCache, without the engine's one-pixel cache so that rows
// may be converted on several threads at once.
#include "imageprocess/ColorProfile.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <lcms2.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <new>

namespace ImageProcess {

namespace detail {
// The bytes of the screen's profile property, empty when there is none (MonitorProfile.cpp).
std::vector<unsigned char> ReadMonitorProperty(const char* display);
} // namespace detail

namespace {

std::mutex g_lock; // guards every cache below

struct ProfileHandle {
    cmsHPROFILE h = nullptr;
    explicit ProfileHandle(const ColorProfile::Profile& p)
        : h(p.IsValid()
                ? cmsOpenProfileFromMem(p.Data().data(), static_cast<cmsUInt32Number>(p.Data().size()))
                : nullptr) {}
    ~ProfileHandle() {
        if (h)
            cmsCloseProfile(h);
    }
    ProfileHandle(const ProfileHandle&) = delete;
    ProfileHandle& operator=(const ProfileHandle&) = delete;
};

std::vector<unsigned char> SaveToMemory(cmsHPROFILE h) {
    cmsUInt32Number size = 0;
    if (!h || !cmsSaveProfileToMem(h, nullptr, &size) || size == 0)
        return {};
    std::vector<unsigned char> bytes(size);
    if (!cmsSaveProfileToMem(h, bytes.data(), &size))
        return {};
    return bytes;
}

std::string Description(cmsHPROFILE h) {
    char text[256] = {};
    if (cmsGetProfileInfoASCII(h, cmsInfoDescription, "en", "US", text, sizeof(text)) == 0)
        return {};
    return text;
}

cmsUInt32Number EngineFormat(ColorProfile::FORMAT f) {
    switch (f) {
    case ColorProfile::FORMAT_GRAY_8:
        return TYPE_GRAY_8;
    case ColorProfile::FORMAT_GRAY_16:
        return TYPE_GRAY_16;
    case ColorProfile::FORMAT_BGR_8:
        return TYPE_BGR_8;
    case ColorProfile::FORMAT_BGR_16:
        return TYPE_BGR_16;
    case ColorProfile::FORMAT_BGRA_8:
        return TYPE_BGRA_8;
    case ColorProfile::FORMAT_BGRA_16:
        return TYPE_BGRA_16;
    case ColorProfile::FORMAT_RGB_DBL:
        return TYPE_RGB_DBL;
    default:
        return 0;
    }
}

bool IsGrayFormat(ColorProfile::FORMAT f) {
    return f == ColorProfile::FORMAT_GRAY_8 || f == ColorProfile::FORMAT_GRAY_16;
}

bool HasAlpha(ColorProfile::FORMAT f) {
    return f == ColorProfile::FORMAT_BGRA_8 || f == ColorProfile::FORMAT_BGRA_16;
}

ColorProfile::Profile MakeSRGB() {
    cmsHPROFILE h = cmsCreate_sRGBProfile();
    const std::vector<unsigned char> bytes = SaveToMemory(h);
    if (h)
        cmsCloseProfile(h);
    return ColorProfile::Profile(bytes.data(), bytes.size(), "sRGB IEC61966-2.1");
}

// The same colorants and white with linear tone curves; falls back to linear sRGB for profiles that
// are not matrix-shaper.
ColorProfile::Profile MakeLinear(const ColorProfile::Profile& base) {
    ProfileHandle src(base);
    ProfileHandle srgb(ColorProfile::GetSRGBProfile());
    cmsHPROFILE from =
        src.h && cmsIsMatrixShaper(src.h) && cmsGetColorSpace(src.h) == cmsSigRgbData ? src.h : srgb.h;
    cmsHPROFILE h = cmsCreateProfilePlaceholder(nullptr);
    if (!h || !from)
        return {};
    cmsSetProfileVersion(h, 4.3);
    cmsSetDeviceClass(h, cmsSigDisplayClass);
    cmsSetColorSpace(h, cmsSigRgbData);
    cmsSetPCS(h, cmsSigXYZData);
    bool ok = true;
    for (cmsTagSignature tag :
         {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag, cmsSigMediaWhitePointTag}) {
        void* value = cmsReadTag(from, tag);
        if (value)
            ok = ok && cmsWriteTag(h, tag, value);
        else if (tag != cmsSigMediaWhitePointTag)
            ok = false;
    }
    if (void* chad = cmsReadTag(from, cmsSigChromaticAdaptationTag))
        ok = ok && cmsWriteTag(h, cmsSigChromaticAdaptationTag, chad);
    cmsToneCurve* linear = cmsBuildGamma(nullptr, 1.0);
    ok = ok && linear && cmsWriteTag(h, cmsSigRedTRCTag, linear) &&
         cmsWriteTag(h, cmsSigGreenTRCTag, linear) && cmsWriteTag(h, cmsSigBlueTRCTag, linear);
    const std::string name =
        "Linear " + (from == src.h ? base.Name() : ColorProfile::GetSRGBProfile().Name());
    cmsMLU* desc = cmsMLUalloc(nullptr, 1);
    ok = ok && desc && cmsMLUsetASCII(desc, "en", "US", name.c_str()) &&
         cmsWriteTag(h, cmsSigProfileDescriptionTag, desc);
    if (desc)
        cmsMLUfree(desc);
    if (linear)
        cmsFreeToneCurve(linear);
    const std::vector<unsigned char> bytes = ok ? SaveToMemory(h) : std::vector<unsigned char>();
    cmsCloseProfile(h);
    return ColorProfile::Profile(bytes.data(), bytes.size(), name);
}

struct Caches {
    ColorProfile::Profile srgb = MakeSRGB();
    std::unique_ptr<ColorProfile::Profile> working;
    std::unique_ptr<ColorProfile::Profile> linearWorking;
    std::map<std::string, std::unique_ptr<ColorProfile::Profile>> monitors;
    std::vector<std::unique_ptr<ColorProfile::TRANSFORM>> transforms;
    std::vector<std::unique_ptr<ColorProfile::Profile>> named;
    bool namedLoaded = false;
};

Caches& State() {
    static Caches caches;
    return caches;
}

bool EqualNoCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

} // namespace

// ---- Profile -----------------------------------------------------------------------------------

ColorProfile::Profile::Profile(const void* icc, size_t size, const std::string& name) : m_name(name) {
    if (!icc || size < 128 || size > (64u << 20))
        return;
    cmsHPROFILE h = cmsOpenProfileFromMem(icc, static_cast<cmsUInt32Number>(size));
    if (!h)
        return;
    const cmsColorSpaceSignature space = cmsGetColorSpace(h);
    if (space == cmsSigRgbData || space == cmsSigGrayData) {
        m_icc.assign(static_cast<const unsigned char*>(icc), static_cast<const unsigned char*>(icc) + size);
        m_gray = space == cmsSigGrayData;
        if (m_name.empty())
            m_name = Description(h);
    }
    cmsCloseProfile(h);
}

// ---- TRANSFORM ---------------------------------------------------------------------------------

ColorProfile::TRANSFORM::~TRANSFORM() {
    if (m_handle)
        cmsDeleteTransform(static_cast<cmsHTRANSFORM>(m_handle));
}

void* detail::TransformHandle(const void* transform) {
    return transform ? static_cast<const ColorProfile::TRANSFORM*>(transform)->m_handle : nullptr;
}

void* detail::DisplayTransformHandle(const void* transform) {
    if (!transform)
        return nullptr;
    const auto* t = static_cast<const ColorProfile::TRANSFORM*>(transform);
    if (t->m_input == ColorProfile::FORMAT_BGRA_8 && t->m_output == ColorProfile::FORMAT_BGRA_8)
        return t->m_handle;
    const ColorProfile::TRANSFORM* d = t->m_display.load(std::memory_order_acquire);
    if (!d) {
        d = ColorProfile::GetTransform(t->m_from, t->m_to, ColorProfile::FORMAT_BGRA_8,
                                       ColorProfile::FORMAT_BGRA_8, t->m_intent);
        if (!d)
            return nullptr;
        t->m_display.store(d, std::memory_order_release);
    }
    return d->m_handle;
}

const uint16_t* detail::DisplayLut(const void* transform) {
    if (!transform)
        return nullptr;
    const auto* t = static_cast<const ColorProfile::TRANSFORM*>(transform);
    std::call_once(t->m_lutOnce, [t] {
        const ColorProfile::TRANSFORM* s = ColorProfile::GetTransform(
            t->m_from, t->m_to, ColorProfile::FORMAT_BGR_16, ColorProfile::FORMAT_BGR_16, t->m_intent);
        if (!s)
            return;
        constexpr int n = kDisplayLutSide;
        try {
            std::vector<uint16_t> in(static_cast<size_t>(n) * n * n * 3), out(in.size());
            size_t k = 0;
            for (int r = 0; r < n; ++r)
                for (int g = 0; g < n; ++g)
                    for (int b = 0; b < n; ++b) {
                        in[k++] = static_cast<uint16_t>(DisplayLutGrid(b) * 65535.0 + 0.5);
                        in[k++] = static_cast<uint16_t>(DisplayLutGrid(g) * 65535.0 + 0.5);
                        in[k++] = static_cast<uint16_t>(DisplayLutGrid(r) * 65535.0 + 0.5);
                    }
            cmsDoTransform(static_cast<cmsHTRANSFORM>(s->m_handle), in.data(), out.data(),
                           static_cast<cmsUInt32Number>(n * n * n));
            t->m_lut.assign(static_cast<size_t>(n) * n * n * 4, 0);
            for (size_t i = 0; i < static_cast<size_t>(n) * n * n; ++i)
                for (int c = 0; c < 3; ++c)
                    t->m_lut[i * 4 + c] = out[i * 3 + c];
        } catch (const std::bad_alloc&) {
            t->m_lut.clear();
        }
    });
    return t->m_lut.empty() ? nullptr : t->m_lut.data();
}

namespace {

// Colorant matrix of a matrix-shaper profile: columns are the red, green, blue colorants (PCS XYZ),
// rows X, Y, Z; the columns are stored in B, G, R order to match the pixels.
bool ColorantMatrix(cmsHPROFILE h, double m[3][3]) {
    const cmsTagSignature tags[3] = {cmsSigBlueColorantTag, cmsSigGreenColorantTag, cmsSigRedColorantTag};
    for (int c = 0; c < 3; ++c) {
        const auto* xyz = static_cast<const cmsCIEXYZ*>(cmsReadTag(h, tags[c]));
        if (!xyz)
            return false;
        m[0][c] = xyz->X;
        m[1][c] = xyz->Y;
        m[2][c] = xyz->Z;
    }
    return true;
}

bool Invert3(const double a[3][3], double r[3][3]) {
    const double det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                       a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                       a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
    if (std::fabs(det) < 1e-12)
        return false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int i1 = (j + 1) % 3, i2 = (j + 2) % 3, j1 = (i + 1) % 3, j2 = (i + 2) % 3;
            r[i][j] = (a[i1][j1] * a[i2][j2] - a[i1][j2] * a[i2][j1]) / det;
        }
    return true;
}

bool IsMatrixShaperRGB(cmsHPROFILE h) {
    return h && cmsGetColorSpace(h) == cmsSigRgbData && cmsIsMatrixShaper(h);
}

} // namespace

const detail::DisplayShaper* detail::DisplayShaperOf(const void* transform) {
    if (!transform)
        return nullptr;
    const auto* t = static_cast<const ColorProfile::TRANSFORM*>(transform);
    std::call_once(t->m_shaperOnce, [t] {
        ProfileHandle a(t->m_from), b(t->m_to);
        double ma[3][3], mb[3][3], inv[3][3];
        if (!IsMatrixShaperRGB(a.h) || !IsMatrixShaperRGB(b.h) || !ColorantMatrix(a.h, ma) ||
            !ColorantMatrix(b.h, mb) || !Invert3(mb, inv))
            return;
        const cmsTagSignature trc[3] = {cmsSigBlueTRCTag, cmsSigGreenTRCTag, cmsSigRedTRCTag};
        auto shaper = std::make_unique<DisplayShaper>();
        double linear[3][256];
        for (int c = 0; c < 3; ++c) {
            const auto* in = static_cast<const cmsToneCurve*>(cmsReadTag(a.h, trc[c]));
            const auto* out = static_cast<const cmsToneCurve*>(cmsReadTag(b.h, trc[c]));
            if (!in || !out)
                return;
            cmsToneCurve* reverse = cmsReverseToneCurveEx(4096, out);
            if (!reverse)
                return;
            for (int v = 0; v < 256; ++v)
                linear[c][v] = cmsEvalToneCurveFloat(in, static_cast<float>(v / 255.0));
            for (int i = 0; i <= DisplayShaper::kOutSize; ++i) {
                const double root = static_cast<double>(i) / DisplayShaper::kOutSize;
                const float e = cmsEvalToneCurveFloat(reverse, static_cast<float>(root * root));
                shaper->out[c][i] = static_cast<uint8_t>(std::clamp(e * 255.0f + 0.5f, 0.0f, 255.0f));
            }
            cmsFreeToneCurve(reverse);
        }
        double matrix[3][3];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                matrix[i][j] = 0;
                for (int k = 0; k < 3; ++k)
                    matrix[i][j] += inv[i][k] * ma[k][j];
            }
        for (int j = 0; j < 3; ++j)
            for (int v = 0; v < 256; ++v) {
                for (int i = 0; i < 3; ++i)
                    shaper->in[j][v][i] = static_cast<float>(matrix[i][j] * linear[j][v]);
                shaper->in[j][v][3] = 0.0f;
            }
        t->m_shaper = std::move(shaper);
    });
    return t->m_shaper.get();
}

// ---- Well-known profiles -----------------------------------------------------------------------

const ColorProfile::Profile& ColorProfile::GetSRGBProfile() {
    std::lock_guard<std::mutex> lock(g_lock);
    return State().srgb;
}

const ColorProfile::Profile& ColorProfile::GetWorkingProfile() {
    std::lock_guard<std::mutex> lock(g_lock);
    return State().working ? *State().working : State().srgb;
}

bool ColorProfile::SetWorkingProfile(const Profile& profile) {
    if (!profile.IsValid() || profile.IsGray())
        return false;
    Profile linear = MakeLinear(profile);
    std::lock_guard<std::mutex> lock(g_lock);
    // Earlier references stay valid: the old records are kept with the named profiles.
    if (State().working)
        State().named.push_back(std::move(State().working));
    if (State().linearWorking)
        State().named.push_back(std::move(State().linearWorking));
    State().working = std::make_unique<Profile>(profile);
    State().linearWorking = std::make_unique<Profile>(std::move(linear));
    return true;
}

const ColorProfile::Profile& ColorProfile::GetLinearWorkingProfile() {
    {
        std::lock_guard<std::mutex> lock(g_lock);
        if (State().linearWorking)
            return *State().linearWorking;
    }
    Profile linear = MakeLinear(GetWorkingProfile());
    std::lock_guard<std::mutex> lock(g_lock);
    if (!State().linearWorking)
        State().linearWorking = std::make_unique<Profile>(std::move(linear));
    return *State().linearWorking;
}

const ColorProfile::Profile& ColorProfile::GetMonitorProfile(const char* display) {
    const std::string key = display ? display : "";
    {
        std::lock_guard<std::mutex> lock(g_lock);
        auto it = State().monitors.find(key);
        if (it != State().monitors.end())
            return it->second ? *it->second : State().srgb;
    }
    const std::vector<unsigned char> bytes = detail::ReadMonitorProperty(display);
    auto profile = std::make_unique<Profile>(bytes.data(), bytes.size());
    std::lock_guard<std::mutex> lock(g_lock);
    auto& slot = State().monitors[key];
    if (!slot && profile->IsValid() && !profile->IsGray())
        slot = std::move(profile);
    return slot ? *slot : State().srgb;
}

// ---- Profiles by name --------------------------------------------------------------------------

bool ColorProfile::LoadProfileFile(const std::string& path, Profile& profile) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec || size < 128 || size > (64u << 20))
        return false;
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes(static_cast<size_t>(size));
    if (!in.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        return false;
    Profile loaded(bytes.data(), bytes.size());
    if (!loaded.IsValid())
        return false;
    profile = std::move(loaded);
    return true;
}

namespace {

void LoadNamedProfiles(Caches& state) {
    if (state.namedLoaded)
        return;
    state.namedLoaded = true;
    std::vector<std::filesystem::path> folders;
    if (const char* xdg = std::getenv("XDG_DATA_HOME"))
        folders.emplace_back(std::filesystem::path(xdg) / "icc");
    if (const char* home = std::getenv("HOME")) {
        folders.emplace_back(std::filesystem::path(home) / ".local/share/icc");
        folders.emplace_back(std::filesystem::path(home) / ".color/icc");
    }
    folders.emplace_back("/usr/local/share/color/icc");
    folders.emplace_back("/usr/share/color/icc");
    for (const auto& folder : folders) {
        std::error_code ec;
        std::filesystem::recursive_directory_iterator it(
            folder, std::filesystem::directory_options::skip_permission_denied, ec);
        for (; !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            std::string ext = it->path().extension().string();
            std::transform(ext.begin(), ext.end(), ext.begin(),
                           [](unsigned char c) { return std::tolower(c); });
            if (ext != ".icc" && ext != ".icm")
                continue;
            auto p = std::make_unique<ColorProfile::Profile>();
            if (ColorProfile::LoadProfileFile(it->path().string(), *p) && !p->Name().empty())
                state.named.push_back(std::move(p));
        }
    }
}

} // namespace

std::vector<std::string> ColorProfile::GetProfileNames() {
    std::vector<std::string> names{GetSRGBProfile().Name(), GetLinearWorkingProfile().Name()};
    std::lock_guard<std::mutex> lock(g_lock);
    LoadNamedProfiles(State());
    for (const auto& p : State().named) {
        const bool known = std::any_of(names.begin(), names.end(),
                                       [&](const std::string& n) { return EqualNoCase(n, p->Name()); });
        if (!known)
            names.push_back(p->Name());
    }
    return names;
}

const ColorProfile::Profile* ColorProfile::GetProfileByName(const std::string& name) {
    if (name.empty())
        return nullptr;
    if (EqualNoCase(name, GetSRGBProfile().Name()) || EqualNoCase(name, "sRGB"))
        return &GetSRGBProfile();
    if (EqualNoCase(name, GetWorkingProfile().Name()))
        return &GetWorkingProfile();
    if (EqualNoCase(name, GetLinearWorkingProfile().Name()))
        return &GetLinearWorkingProfile();
    std::lock_guard<std::mutex> lock(g_lock);
    LoadNamedProfiles(State());
    for (const auto& p : State().named)
        if (EqualNoCase(p->Name(), name))
            return p.get();
    return nullptr;
}

// ---- Transforms --------------------------------------------------------------------------------

// Creates the engine transform; a helper class would only hide two calls.
static void* CreateEngineTransform(const ColorProfile::Profile& from, const ColorProfile::Profile& to,
                                   ColorProfile::FORMAT in, ColorProfile::FORMAT out, int intent,
                                   unsigned flags, const ColorProfile::Profile* proof) {
    if (!from.IsValid() || !to.IsValid() || EngineFormat(in) == 0 || EngineFormat(out) == 0)
        return nullptr;
    if (in != ColorProfile::FORMAT_RGB_DBL && IsGrayFormat(in) != from.IsGray())
        return nullptr;
    if (out != ColorProfile::FORMAT_RGB_DBL && IsGrayFormat(out) != to.IsGray())
        return nullptr;
    if ((in == ColorProfile::FORMAT_RGB_DBL || out == ColorProfile::FORMAT_RGB_DBL) &&
        (from.IsGray() || to.IsGray()))
        return nullptr;
    if (intent < 0 || intent > 3)
        return nullptr;
    ProfileHandle a(from), b(to);
    if (!a.h || !b.h)
        return nullptr;
    cmsUInt32Number engineFlags = cmsFLAGS_NOCACHE | flags;
    if (HasAlpha(in) && HasAlpha(out))
        engineFlags |= cmsFLAGS_COPY_ALPHA;
    if (proof) {
        ProfileHandle p(*proof);
        if (!p.h)
            return nullptr;
        return cmsCreateProofingTransform(a.h, EngineFormat(in), b.h, EngineFormat(out), p.h, intent,
                                          INTENT_RELATIVE_COLORIMETRIC, engineFlags | cmsFLAGS_SOFTPROOFING);
    }
    return cmsCreateTransform(a.h, EngineFormat(in), b.h, EngineFormat(out), intent, engineFlags);
}

const ColorProfile::TRANSFORM* ColorProfile::GetTransform(const Profile& from, const Profile& to,
                                                          FORMAT input, FORMAT output, int intent) {
    return GetTransformWithFlags(from, to, input, output, intent, 0);
}

const ColorProfile::TRANSFORM* ColorProfile::GetTransformWithFlags(const Profile& from, const Profile& to,
                                                                   FORMAT input, FORMAT output, int intent,
                                                                   unsigned flags) {
    try {
        {
            std::lock_guard<std::mutex> lock(g_lock);
            for (const auto& t : State().transforms)
                if (t->InputFormat() == input && t->OutputFormat() == output && t->Intent() == intent &&
                    t->m_flags == flags && t->From() == from && t->To() == to)
                    return t.get();
        }
        void* handle = CreateEngineTransform(from, to, input, output, intent, flags, nullptr);
        if (!handle)
            return nullptr;
        std::unique_ptr<TRANSFORM> t(new TRANSFORM());
        t->m_from = from;
        t->m_to = to;
        t->m_input = input;
        t->m_output = output;
        t->m_intent = intent;
        t->m_flags = flags;
        t->m_handle = handle;
        std::lock_guard<std::mutex> lock(g_lock);
        for (const auto& other : State().transforms)
            if (other->InputFormat() == input && other->OutputFormat() == output &&
                other->Intent() == intent && other->m_flags == flags && other->From() == from &&
                other->To() == to)
                return other.get(); // another thread made the same one meanwhile; ours is freed
        State().transforms.push_back(std::move(t));
        return State().transforms.back().get();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool ColorProfile::DoTransform(const TRANSFORM* transform, const void* input, void* output, int count) {
    if (!transform || !transform->m_handle || !input || !output || count < 0)
        return false;
    cmsDoTransform(static_cast<cmsHTRANSFORM>(transform->m_handle), input, output,
                   static_cast<cmsUInt32Number>(count));
    return true;
}

bool ColorProfile::DoTransform(const TRANSFORM* transform, const COLORVALS* input, COLORVALS* output,
                               int count, double fullScale) {
    if (!transform || !input || !output || count < 0 || !(fullScale > 0))
        return false;
    const TRANSFORM* t = GetTransformWithFlags(transform->From(), transform->To(), FORMAT_RGB_DBL,
                                               FORMAT_RGB_DBL, transform->Intent(), transform->m_flags);
    if (!t)
        return false;
    std::vector<double> buffer(static_cast<size_t>(count) * 3);
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < 3; ++c)
            buffer[i * 3 + c] = input[i].v[c] / fullScale;
    cmsDoTransform(static_cast<cmsHTRANSFORM>(t->m_handle), buffer.data(), buffer.data(),
                   static_cast<cmsUInt32Number>(count));
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < 3; ++c)
            output[i].v[c] = buffer[i * 3 + c] * fullScale;
    return true;
}

int ColorProfile::TransformFormatToPixelSize(FORMAT format) {
    switch (format) {
    case FORMAT_GRAY_8:
        return 1;
    case FORMAT_GRAY_16:
        return 2;
    case FORMAT_BGR_8:
        return 3;
    case FORMAT_BGR_16:
        return 6;
    case FORMAT_BGRA_8:
        return 4;
    case FORMAT_BGRA_16:
        return 8;
    case FORMAT_RGB_DBL:
        return 24;
    default:
        return 0;
    }
}

void ColorProfile::ReleaseCache() {
    std::lock_guard<std::mutex> lock(g_lock);
    State().transforms.clear();
    State().monitors.clear();
}

// ---- Whole images ------------------------------------------------------------------------------

namespace {

template <typename T> T ReadSample(const unsigned char* p, int i) {
    T v;
    std::memcpy(&v, p + i * sizeof(T), sizeof(T));
    return v;
}

// Converts a sample between depths: 8 -> 16 multiplies by 257, 16 -> 8 rounds.
inline uint32_t ConvertDepth(uint32_t v, int from, int to) {
    if (from == to)
        return v;
    return from == 1 ? v * 257 : (v + 128) / 257;
}

uint32_t Sample(const unsigned char* row, int i, int depth) {
    return depth == 1 ? row[i] : ReadSample<uint16_t>(row, i);
}

void Store(unsigned char* row, int i, int depth, uint32_t v) {
    if (depth == 1) {
        row[i] = static_cast<unsigned char>(v);
    } else {
        const uint16_t s = static_cast<uint16_t>(v);
        std::memcpy(row + i * 2, &s, 2);
    }
}

} // namespace

bool ColorProfile::TransformImage(CImageDataInfo& output, const CImageDataInfo& input, int intent,
                                  int blackPointCompensation, const Profile& from, const Profile& to,
                                  const Profile* proof, void (*progress)(int, int)) {
    if (!detail::IsUsable(input) || !detail::IsUsable(output) || input.width != output.width ||
        input.height != output.height || !from.IsValid() || !to.IsValid() || (proof && !proof->IsValid()))
        return false;
    if (from.IsGray() && input.channels != 1)
        return false;
    const int inDepth = input.depth, outDepth = output.depth;
    const FORMAT inFmt = from.IsGray() ? (inDepth == 1 ? FORMAT_GRAY_8 : FORMAT_GRAY_16)
                                       : (inDepth == 1 ? FORMAT_BGR_8 : FORMAT_BGR_16);
    const FORMAT outFmt = to.IsGray() ? (outDepth == 1 ? FORMAT_GRAY_8 : FORMAT_GRAY_16)
                                      : (outDepth == 1 ? FORMAT_BGR_8 : FORMAT_BGR_16);
    const unsigned flags = blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0;
    std::unique_ptr<void, void (*)(void*)> owned(nullptr, [](void* h) {
        if (h)
            cmsDeleteTransform(static_cast<cmsHTRANSFORM>(h));
    });
    void* handle = nullptr;
    if (proof) {
        owned.reset(CreateEngineTransform(from, to, inFmt, outFmt, intent, flags, proof));
        handle = owned.get();
    } else if (const TRANSFORM* t = GetTransformWithFlags(from, to, inFmt, outFmt, intent, flags)) {
        handle = t->m_handle;
    }
    if (!handle)
        return false;
    const detail::Plane in = detail::PlaneOf(input), out = detail::PlaneOf(output);
    const int inScratchCh = from.IsGray() ? 1 : 3, outScratchCh = to.IsGray() ? 1 : 3;
    const int w = input.width;
    const uint32_t outMax = outDepth == 1 ? 255u : 65535u;
    try {
        detail::ParallelRows(
            input.height, static_cast<long long>(w) * input.height * 8, progress, [&](int y0, int y1) {
                std::vector<unsigned char> sin(static_cast<size_t>(w) * inScratchCh * inDepth);
                std::vector<unsigned char> sout(static_cast<size_t>(w) * outScratchCh * outDepth);
                for (int y = y0; y < y1; ++y) {
                    const unsigned char* src = in.Row(y);
                    unsigned char* dst = out.Row(y);
                    const unsigned char* feed = src;
                    if (input.channels != inScratchCh) {
                        for (int x = 0; x < w; ++x)
                            for (int c = 0; c < inScratchCh; ++c)
                                Store(
                                    sin.data(), x * inScratchCh + c, inDepth,
                                    Sample(src, x * input.channels + (input.channels == 1 ? 0 : c), inDepth));
                        feed = sin.data();
                    }
                    const bool direct = output.channels == outScratchCh;
                    cmsDoTransform(static_cast<cmsHTRANSFORM>(handle), feed, direct ? dst : sout.data(),
                                   static_cast<cmsUInt32Number>(w));
                    if (direct)
                        continue;
                    for (int x = 0; x < w; ++x) {
                        if (output.channels == 1) {
                            const double b = Sample(sout.data(), x * 3, outDepth),
                                         g = Sample(sout.data(), x * 3 + 1, outDepth),
                                         r = Sample(sout.data(), x * 3 + 2, outDepth);
                            Store(dst, x, outDepth,
                                  static_cast<uint32_t>(0.0722 * b + 0.7152 * g + 0.2126 * r + 0.5));
                            continue;
                        }
                        for (int c = 0; c < 3; ++c) {
                            const uint32_t v =
                                Sample(sout.data(), x * outScratchCh + (outScratchCh == 1 ? 0 : c), outDepth);
                            Store(dst, x * output.channels + c, outDepth, v);
                        }
                        if (output.channels == 4) {
                            const uint32_t a =
                                input.channels == 4
                                    ? ConvertDepth(Sample(src, x * 4 + 3, inDepth), inDepth, outDepth)
                                    : outMax;
                            Store(dst, x * 4 + 3, outDepth, a);
                        }
                    }
                }
            });
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

} // namespace ImageProcess
