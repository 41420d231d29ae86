// The targets of each pass against the formulas on the CPU. A pass is judged by what the pass before it left
// in its targets, so that roundings do not add up and the tolerance can be narrow.

#include "render/reference/raycast.h"
#include "render/stage.h"

#include "engine/lights.h"
#include "engine/render_target.h"

using namespace irr;
using core::vector3df;

// Half a step for the target's own rounding, and up to one and a half for what a GPU may round before: each
// source to 8 bits ahead of its blending, a filter's weights, a vertex to 1/256 pixel.
static const double TOLERANCE = 2.0 / 255 + 1e-6;
// Of a depth: 11 bits of mantissa, and as much again for a vertex that moves by 1/256 pixel.
static const double DEPTH_TOLERANCE = 1.0 / 1024;
static const double FAR = 1000;
static const int width = 97, height = 61; // of the picture; odd, so that the half targets are rounded

// --- maps -----------------------------------------------------------------------------------------------

// A linear filter leaves a ramp what it is. Only its ends, half a texel wide, are left out.
enum { MAP_SIZE = 16 };
static const double MAP_END = 0.5 / MAP_SIZE;

static const struct Map {
    const char* name;
    QbRef3 first, byX, byY; // first texel; the rise to the last column, and to the last row
} textures[] = {
    {"across", {0, 1, 0}, {1, -1, 0}, {0, 0, 1}}, {"down", {0, 0, 1}, {0, 1, 0}, {1, 0, -1}},
    {"back", {1, 0, 0}, {-1, 0, 1}, {0, 1, 0}},   {"bumps", {0, 1, 0.8}, {1, 0, 0}, {0, -1, 0}},
    {"sky", {0, 0, 0.4}, {1, 0, 0}, {0, 1, 0}},
};

static QbRef3 colorOf(const Map& map, double x, double y) {
    return map.first + map.byX * (x / (MAP_SIZE - 1)) + map.byY * (y / (MAP_SIZE - 1));
}

static QbRef3 sample(const char* name, QbRef2 uv) {
    const auto texel = [](double at) { return (at - std::floor(at)) * MAP_SIZE - 0.5; };
    for (const Map& map : textures)
        if (std::string(map.name) == name) return colorOf(map, texel(uv.x), texel(uv.y));
    ADD_FAILURE() << "no map " << name;
    return {};
}

static bool isAtEnd(QbRef2 uv) {
    return std::abs(uv.x - std::round(uv.x)) < MAP_END || std::abs(uv.y - std::round(uv.y)) < MAP_END;
}

static uint32_t texelOf(const Map& map, int x, int y) {
    const QbRef3 color = colorOf(map, x, y);
    const auto byte = [](double v) { return static_cast<uint32_t>(std::lround(v * 255)); };
    return 0xFF000000 | byte(color.x) << 16 | byte(color.y) << 8 | byte(color.z);
}

// --- surfaces -------------------------------------------------------------------------------------------

namespace {

// What one pass reads of a surface, in the order of its layers; beyond the fourth there is only black.
struct Inputs {
    const QbSurfaceValues& values;
    QbRef2 uv;
    int layersUsed = 0;

    bool takesLayer() { return layersUsed++ < 4; }
    double value(QbSurfaceSlot slot) const { return values.params[slot].color[0]; }
    std::optional<QbRef3> map(QbSurfaceSlot slot) {
        const char* name = values.params[slot].textureImage;
        if (!name) return {};
        return takesLayer() ? sample(name, uv) : QbRef3{};
    }
    double mapOrValue(QbSurfaceSlot slot) { return map(slot).value_or(QbRef3{value(slot), 0, 0}).x; }
};

} // namespace

static QbRef4 normalTexel(Inputs in, const QbRefPoint& point) {
    const std::optional<QbRef3> bump = in.map(QB_SURFACE_BUMP);
    const QbRef2 normal = qbRefEncodeNormal(qbRefShadingNormal(point.axes, bump, in.value(QB_SURFACE_BUMP)));
    const double specularity = in.mapOrValue(QB_SURFACE_SPECULARITY);
    return {normal.x, normal.y, specularity, in.mapOrValue(QB_SURFACE_GLOSSINESS)};
}

// Nothing at the image's seam.
static std::optional<QbRefReflection> reflectionAt(Inputs& in, const QbRefPoint& point) {
    const bool hasImage = in.takesLayer();
    QbRefReflection reflection;
    reflection.reflectivity = in.value(QB_SURFACE_REFLECTIVITY);
    if (const std::optional<QbRef3> texel = in.map(QB_SURFACE_REFLECTIVITY))
        reflection.reflectivityTexel = texel->x;
    const std::optional<QbRef3> bump = in.map(QB_SURFACE_BUMP);
    QbRef3 normal = point.worldAxes.normal;
    if (bump) normal = qbRefReflectionNormal(point.worldAxes, *bump, in.value(QB_SURFACE_BUMP));
    const QbRef3 ray = qbRefReflectedRay(point.toCamera, normal);
    const QbRef2 uv = qbRefReflectionUv(ray, in.value(QB_SURFACE_REFLECTION_SEAM_ANGLE), bump.has_value());
    if (isAtEnd(uv)) return {};
    if (hasImage) reflection.imageTexel = sample("sky", uv);
    return reflection;
}

static std::optional<QbRef4> finalTexel(Inputs in, const QbRefPoint& point, QbRef3 ambient, QbRef4 light) {
    const float* color = in.values.params[QB_SURFACE_BASE_COLOR].color;
    QbRefSurface surface;
    surface.color = in.map(QB_SURFACE_BASE_COLOR).value_or(QbRef3{color[0], color[1], color[2]});
    surface.luminosity = in.mapOrValue(QB_SURFACE_LUMINOSITY);
    surface.diffuse = in.mapOrValue(QB_SURFACE_DIFFUSE);
    surface.glow = in.value(QB_SURFACE_GLOW_VALUE);
    std::optional<QbRefReflection> reflection;
    if (in.values.params[QB_SURFACE_REFLECTION_OPTIONS].integer > 1) {
        reflection = reflectionAt(in, point);
        if (!reflection) return {};
    }
    return qbRefFinalOutput(surface, reflection, ambient, in.takesLayer() ? light : QbRef4{});
}

// --- comparing ------------------------------------------------------------------------------------------

static QbRef3 toRef(vector3df v) {
    return {v.X, v.Y, v.Z};
}

static std::ostream& operator<<(std::ostream& out, QbRef4 v) {
    return out << '(' << v.r * 255 << ' ' << v.g * 255 << ' ' << v.b * 255 << ' ' << v.a * 255 << ")/255";
}

static double distanceOf(QbRef4 wanted, QbRef4 found) {
    const auto channel = [](double w, double f) { return std::abs(qbRefSaturate(w) - f); };
    return std::max({channel(wanted.r, found.r), channel(wanted.g, found.g), channel(wanted.b, found.b),
                     channel(wanted.a, found.a)});
}

// `expected(x, y)` is a texel, or nothing where it can not tell. Most of the picture must be judged.
template <typename Expected>
static void expectPicture(const char* name, const QbRefPicture& actual, double tolerance,
                          const Expected& expected) {
    int judged = 0;
    for (int y = 0; y < actual.height; ++y)
        for (int x = 0; x < actual.width; ++x) {
            const std::optional<QbRef4> wanted = expected(x, y);
            if (!wanted) continue;
            ASSERT_LE(distanceOf(*wanted, actual.at(x, y)), tolerance)
                << name << " at " << x << ", " << y << ": " << actual.at(x, y) << ", not " << *wanted;
            ++judged;
        }
    EXPECT_GT(judged, actual.width * actual.height / 2) << name << ": too many pixels were left out";
}

static void expectSame(const char* name, const QbRefPicture& actual, double tolerance,
                       const QbRefPicture& wanted) {
    ASSERT_EQ(std::make_pair(actual.width, actual.height), std::make_pair(wanted.width, wanted.height));
    expectPicture(name, actual, tolerance, [&](int x, int y) { return std::optional(wanted.at(x, y)); });
}

// --- stage ----------------------------------------------------------------------------------------------

namespace {

class PassesTest : public RenderStage {
public:
    void SetUp() override;
    // The lights stand in world space.
    void begin(vector3df eye, vector3df target, uint32_t ambient, const std::vector<QbRefLight>& lights);
    scene::ISceneNode* put(const StageMesh& mesh, const StageSurface& surface);
    void grid(vector3df corner, float cell, int columns, int rows, StageSurface (*surfaceOf)(int index));

protected:
    void cast();
    template <typename Shade>
    void expectSurfaces(const char* name, const QbRefPicture& actual, double tolerance, QbRef4 background,
                        const Shade& shade);
    void expectGeometry();
    void expectLight();
    void expectFinal();
    void expectWindow(QbRefPicture scene);

    QbRefView view_;
    std::array<QbRef3, 4> corners_ = qbRefFarCorners(1, 1.0 * width / height, FAR);
    QbRef3 ambient_;
    std::vector<QbRefLight> lights_; // view space
    std::vector<QbSurfaceValues> surfaces_;
    QbRefHits hits_;
};

} // namespace

void PassesTest::SetUp() {
    open(width, height);
    if (HasFatalFailure()) return;
    qbEngineGet()->driver->setTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS, false);
    for (const Map& map : textures)
        addTexture(map.name, MAP_SIZE, [&map](int x, int y) { return texelOf(map, x, y); });
    qbEngineSetBackground(0x203040);
}

void PassesTest::begin(vector3df eye, vector3df target, uint32_t ambient,
                       const std::vector<QbRefLight>& lights) {
    clear();
    surfaces_.clear();
    lookAt(eye, target, 1.0F);
    view_ = qbRefLookAt(toRef(eye), toRef(target));
    lights_ = lights;
    for (QbRefLight& light : lights_) {
        addLight(light);
        light.position = qbRefPointToView(view_, light.position);
        light.direction = qbRefNormalize(qbRefDirectionToView(view_, light.direction));
    }
    qbEngineSetAmbient(ambient);
    const video::SColorf color{video::SColor(ambient)};
    ambient_ = {color.r, color.g, color.b};
}

scene::ISceneNode* PassesTest::put(const StageMesh& mesh, const StageSurface& surface) {
    surfaces_.push_back(surface.values());
    return node(add(mesh, surface));
}

// Squares that face the camera, row by row from the top, slightly apart.
void PassesTest::grid(vector3df corner, float cell, int columns, int rows, StageSurface (*surfaceOf)(int)) {
    for (int i = 0; i < columns * rows; ++i) {
        const vector3df place(static_cast<float>(i % columns), static_cast<float>(rows - 1 - i / columns), 0);
        const float side = cell * 0.97F;
        put(stageQuad(corner + place * cell, {side, 0, 0.5F}, {0, side, 0.5F}), surfaceOf(i));
    }
}

static QbRef3 directionIn(const core::matrix4& world, vector3df v) {
    world.rotateVect(v);
    return qbRefNormalize(toRef(v));
}

static QbRefPoint pointOf(const video::S3DVertex* vertex, bool hasTangents, const core::matrix4& world,
                          const QbRefView& view) {
    QbRefPoint point;
    vector3df place = vertex->Pos;
    world.transformVect(place);
    point.position = qbRefPointToView(view, toRef(place));
    point.toCamera = qbRefNormalize(view.eye - toRef(vertex->Pos));
    point.uv = {vertex->TCoords.X, vertex->TCoords.Y};
    point.worldAxes.normal = directionIn(world, vertex->Normal);
    point.axes.normal = qbRefDirectionToView(view, point.worldAxes.normal);
    if (!hasTangents) return point;
    const auto* tangents = static_cast<const video::S3DVertexTangents*>(vertex);
    point.worldAxes.tangent = directionIn(world, tangents->Tangent);
    point.worldAxes.binormal = directionIn(world, tangents->Binormal);
    point.axes = qbRefAxes(point.axes.normal, qbRefDirectionToView(view, point.worldAxes.tangent));
    return point;
}

// Finds out what the drawn scene shows, from the nodes' own triangles.
void PassesTest::cast() {
    std::vector<QbRefTriangle> triangles;
    for (int id = 1; id <= static_cast<int>(surfaces_.size()); ++id) {
        auto* shape = static_cast<scene::IMeshSceneNode*>(node(id));
        const scene::IMeshBuffer* buffer = shape->getMesh()->getMeshBuffer(0);
        const video::E_VERTEX_TYPE type = buffer->getVertexType();
        const auto* bytes = static_cast<const char*>(buffer->getVertices());
        for (u32 i = 0; i < buffer->getIndexCount(); ++i) {
            if (i % 3 == 0) triangles.push_back({id, {}});
            const char* vertex = bytes + video::getVertexPitchFromType(type) * buffer->getIndices()[i];
            triangles.back().corners[i % 3] =
                pointOf(reinterpret_cast<const video::S3DVertex*>(vertex), type == video::EVT_TANGENTS,
                        shape->getAbsoluteTransformation(), view_);
        }
    }
    hits_ = qbRefCast(triangles, corners_, 1, width, height);
}

// --- passes ---------------------------------------------------------------------------------------------

template <typename Shade>
void PassesTest::expectSurfaces(const char* name, const QbRefPicture& actual, double tolerance,
                                QbRef4 background, const Shade& shade) {
    expectPicture(name, actual, tolerance, [&](int x, int y) -> std::optional<QbRef4> {
        const QbRefHit& hit = hits_.at(x, y);
        if (!hit.isInner) return {};
        if (hit.object == 0) return background;
        if (isAtEnd(hit.point.uv)) return {};
        const QbSurfaceValues& values = surfaces_[static_cast<size_t>(hit.object - 1)];
        return shade(Inputs{values, hit.point.uv}, hit.point, x, y);
    });
}

void PassesTest::expectGeometry() {
    expectSurfaces("normals", read(state()->normalRTT), TOLERANCE, QB_REF_CLEAR_NORMAL,
                   [](const Inputs& in, const QbRefPoint& at, int, int) { return normalTexel(in, at); });
    const QbRefPicture depth = read(state()->depthRTT);
    const bool hasFocus = qbEngineGet()->depthOfFieldEnabled;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const QbRefHit& hit = hits_.at(x, y);
            if (!hit.isInner) continue;
            const QbRef4 surface = qbRefDepthTexel(hit.point.position.z, FAR, hasFocus);
            const QbRef4 wanted = hit.object ? surface : QB_REF_CLEAR_DEPTH;
            ASSERT_NEAR(depth.at(x, y).r, wanted.r, wanted.r * DEPTH_TOLERANCE) << x << ", " << y;
            // The blur runs over its range in half the depth that it covers.
            ASSERT_NEAR(depth.at(x, y).g, wanted.g, 2 * DEPTH_TOLERANCE) << x << ", " << y;
        }
}

void PassesTest::expectLight() {
    const QbRefPicture normals = read(state()->normalRTT), depths = read(state()->depthRTT);
    expectPicture("light", read(state()->lightRTT), TOLERANCE, [&](int x, int y) {
        std::optional<QbRef4> sum = QbRef4{};
        const double depth = depths.at(x, y).r;
        if (depth > 0.9999) return sum; // background
        const QbRef3 ray = qbRefRay(corners_, (x + 0.5) / width, (y + 0.5) / height);
        for (const QbRefLight& light : lights_)
            sum = qbRefAddColor(*sum,
                                qbRefLightOutput(light, qbRefPosition(depth, FAR, ray), normals.at(x, y)));
        return sum;
    });
}

static const QbRef4 BACKGROUND{0x20 / 255.0, 0x30 / 255.0, 0x40 / 255.0, 0};

void PassesTest::expectFinal() {
    const QbRefPicture lights = read(state()->lightRTT), scene = read(state()->sceneRTT);
    expectSurfaces("scene", scene, TOLERANCE, BACKGROUND,
                   [&](const Inputs& in, const QbRefPoint& point, int x, int y) {
                       return finalTexel(in, point, ambient_, lights.at(x, y));
                   });
    expectWindow(scene);
}

void PassesTest::expectWindow(QbRefPicture scene) {
    for (QbRef4& texel : scene.texels)
        texel.a = 1;
    expectSame("window", window(), 0.5 / 255, scene);
}

// --- scenes ---------------------------------------------------------------------------------------------

static QbRefLight distant(QbRef3 direction, QbRef3 color) {
    return {QbRefLightKind::Distant, color, direction, {}, 0, 0, 0};
}

static QbRefLight point(QbRef3 position, double range, QbRef3 color) {
    return {QbRefLightKind::Point, color, {0, 0, 1}, position, range, 0, 0};
}

static QbRefLight spot(QbRef3 position, QbRef3 direction, double range, double inner, double outer,
                       QbRef3 color) {
    return {QbRefLightKind::Spot, color, direction, position, range, inner, outer};
}

static StageSurface shiny(float specularity, float glossiness) {
    return StageSurface()
        .color(0.9F, 0.6F, 0.3F)
        .value(QB_SURFACE_SPECULARITY, specularity)
        .value(QB_SURFACE_GLOSSINESS, glossiness)
        .value(QB_SURFACE_GLOW_VALUE, specularity * 0.6F);
}

// Several lights, one without a range after one that ends; a gleam that is the same at every angle.
static void balls(PassesTest& stage) {
    stage.begin({3, 8, -6}, {0, 0, 30}, 0x0C1018,
                {point({-7, 6, 20}, 12, {1, 0.5, 0.25}), distant({0.5, -0.2, 1}, {0.3, 0.3, 0.4}),
                 spot({10, 12, 10}, {-0.3, -0.4, 1}, 60, 10, 25, {0.2, 0.9, 0.5}),
                 point({4, -4, 20}, 25, {0, 0, 1})});
    stage.put(stageSphere({-6, 0, 26}, 6), shiny(0.9F, 0.2F));
    stage.put(stageSphere({7, 1, 28}, 6), shiny(0.5F, 0));
    stage.put(stageQuad({-40, -20, 45}, {80, 0, 0}, {0, 40, 4}), shiny(0.1F, 1));
    // Leaves the picture through the far plane.
    stage.put(stageQuad({-900, -900, 880}, {1800, 0, 0}, {0, 1800, 90}), shiny(0.4F, 0.2F));
}

// Lights that end within the picture: by their range, by their cone, by a cone all but without a soft edge.
static void pools(PassesTest& stage) {
    stage.begin({0, 0, 0}, {0, 0, 10}, 0,
                {point({-9, 4, 27}, -7, {1, 1, 1}),
                 spot({8, 5, 18}, {0.1, -0.2, 1}, 60, 12, 25, {1, 0.8, 0.6}),
                 spot({-6, -6, 20}, {-0.1, 0.1, 1}, 12, 30, 45, {0.6, 1, 0.8}),
                 spot({6, -7, 22}, {0.2, 0.1, 1}, 80, 25, 25.5, {0.8, 0.6, 1})});
    stage.put(stageQuad({-25, -16, 30}, {50, 0, 0}, {0, 32, 0}), shiny(1, 0.3F));
}

// From near to far of the depth of field's focus, and beyond every side of the picture. Without a light the
// ambient colour stays that of the scene before.
static void slope(PassesTest& stage) {
    stage.begin({0, 200, 0}, {0, 0, 300}, 0, {});
    stage.put(stageQuad({-900, 0, 60}, {1800, 0, 0}, {0, 0, 900}),
              shiny(0.5F, 0.1F).value(QB_SURFACE_LUMINOSITY, 0.4F));
}

// Each map present and absent, in the geometry pass and in the final pass. What only reflections take stands
// there to be ignored.
static void maps(PassesTest& stage) {
    stage.begin({0, 0, 0}, {0, 0, 10}, 0x303030,
                {distant({0.2, -0.3, 1}, {0.7, 0.8, 0.9}), point({0, 0, 15}, 60, {0.3, 0.3, 0.3})});
    stage.grid({-16, -8, 20}, 8, 4, 2, [](int index) {
        StageSurface surface = shiny(0.7F, 0.3F);
        surface.value(QB_SURFACE_LUMINOSITY, 0.3F).value(QB_SURFACE_DIFFUSE, 0.5F).value(QB_SURFACE_BUMP, 3);
        surface.value(QB_SURFACE_REFLECTIVITY, 1).integer(QB_SURFACE_REFLECTION_OPTIONS, 1);
        surface.image(QB_SURFACE_REFLECTION_IMAGE, "sky").image(QB_SURFACE_REFLECTIVITY, "down");
        if (index & 1) surface.image(QB_SURFACE_BASE_COLOR, "across").image(QB_SURFACE_BUMP, "bumps");
        if (index & 2) surface.image(QB_SURFACE_LUMINOSITY, "down").image(QB_SURFACE_SPECULARITY, "across");
        if (index & 4) surface.image(QB_SURFACE_DIFFUSE, "back").image(QB_SURFACE_GLOSSINESS, "down");
        return surface;
    });
}

// With four maps before it the reflectivity map is lost, and with it nearly all reflection.
static StageSurface reflecting(int bits) {
    StageSurface surface = shiny(0.7F, 0.3F);
    surface.value(QB_SURFACE_DIFFUSE, 0.3F).value(QB_SURFACE_LUMINOSITY, 0.1F).value(QB_SURFACE_BUMP, 1);
    surface.value(QB_SURFACE_REFLECTIVITY, (bits & 15) == 15 ? 20.0F : 0.8F);
    surface.value(QB_SURFACE_REFLECTION_SEAM_ANGLE, 0.3F).integer(QB_SURFACE_REFLECTION_OPTIONS, 2);
    surface.image(QB_SURFACE_REFLECTION_IMAGE, "sky");
    if (bits & QB_FINAL_TEX_COLOR) surface.image(QB_SURFACE_BASE_COLOR, "across");
    if (bits & QB_FINAL_TEX_LUMINOSITY) surface.image(QB_SURFACE_LUMINOSITY, "down");
    if (bits & QB_FINAL_TEX_DIFFUSE) surface.image(QB_SURFACE_DIFFUSE, "back");
    if (bits & QB_FINAL_TEX_REFLECTIVITY) surface.image(QB_SURFACE_REFLECTIVITY, "down");
    if (bits & QB_FINAL_TEX_NORMAL) surface.image(QB_SURFACE_BUMP, "bumps");
    return surface;
}

static void reflections(PassesTest& stage) {
    stage.begin({0, 0, 0}, {0, 0, 10}, 0x202020, {distant({0.2, -0.3, 1}, {0.3, 0.5, 0.4})});
    stage.grid({-18, -9, 22}, 4.5F, 8, 4, reflecting);
}

// A reflection takes the vertex as it stands in the mesh: moved and turned meshes tell.
static void mirrors(PassesTest& stage) {
    stage.begin({2, 3, -4}, {0, 0, 20}, 0x202020, {point({-5, 9, 8}, 40, {0.7, 0.7, 0.7})});
    scene::ISceneNode* smooth = stage.put(stageSphere({0, 0, 0}, 6), reflecting(0));
    smooth->setPosition(vector3df(-7, 0, 18));
    smooth->setRotation(vector3df(20, 50, 0));
    smooth->setScale(vector3df(1, 1.4F, 1));
    scene::ISceneNode* bumped = stage.put(stageSphere({0, 0, 0}, 6), reflecting(QB_FINAL_TEX_NORMAL));
    bumped->setPosition(vector3df(7, 0, 18));
    bumped->setRotation(vector3df(0, 100, 30));
}

// --- tests ----------------------------------------------------------------------------------------------

TEST_F(PassesTest, TargetsHoldWhatTheFormulasSay) {
    static const struct {
        const char* name;
        void (*build)(PassesTest& stage);
    } scenes[] = {{"balls", balls}, {"pools", pools},     {"slope", slope},
                  {"maps", maps},   {"mirrors", mirrors}, {"reflections", reflections}};
    for (const auto& scene : scenes) {
        SCOPED_TRACE(scene.name);
        scene.build(*this);
        draw();
        cast();
        expectGeometry();
        expectLight();
        expectFinal();
        qbEngineSetDepthOfField(1, 100, 2);
        draw();
        expectGeometry();
        qbEngineSetDepthOfField(0, 100, 2);
    }
    EXPECT_TRUE(messages.empty()) << messages.front();
}

// Both blurs multiply what they read by 9/4, and with it the roundings of the two copies before the first.
TEST_F(PassesTest, GlowFollowsItsFormulasAndOnlyWhenItIsOn) {
    begin({0, 0, 0}, {0, 0, 10}, 0, {});
    put(stageQuad({-2, -6, 20}, {4, 0, 0}, {0, 12, 0}), shiny(0.9F, 0).value(QB_SURFACE_LUMINOSITY, 0.6F));
    // Glows as well: blending leaves an alpha of 1.
    put(stageQuad({-6, -2, 15}, {12, 0, 0}, {0, 4, 0}), StageSurface())
        ->setMaterialType(video::EMT_TRANSPARENT_ADD_COLOR);
    draw();
    const QbRefPicture frame = read(state()->sceneRTT);
    EXPECT_NEAR(frame.at(width / 2, 18).a, 0.54, TOLERANCE);
    EXPECT_EQ(frame.at(width / 2, height / 2).a, 1);
    static const struct {
        int enabled;
        float intensity, radius;
    } settings[] = {{1, 0.5F, 60}, {1, 1.5F, 0}, {1, -0.5F, 250}, {1, 0, 60}, {0, 0.5F, 60}};
    for (const auto& setting : settings) {
        SCOPED_TRACE(setting.intensity);
        const double distance = setting.radius / 1000.0;
        qbTargetSet(state()->halfScreen[1], true, video::SColor(0)); // no pass leaves an alpha of 0
        qbTargetSetWindow();
        qbEngineSetGlow(setting.enabled, setting.intensity, setting.radius);
        draw();
        const QbRefPicture across = read(state()->halfScreen[0]), down = read(state()->halfScreen[1]);
        const QbRefPicture bright = qbRefBrightPass(qbRefHalf(frame)), scene = read(state()->sceneRTT);
        expectWindow(scene);
        EXPECT_EQ(down.at(0, 0).a > 0, setting.enabled && setting.intensity != 0);
        if (down.at(0, 0).a == 0) {
            expectSame("without glow", scene, 0, frame);
            continue;
        }
        expectSame("across", across, 5.0 / 255, qbRefBlurPass(bright, {distance, 0}));
        expectSame("down", down, 3.0 / 255, qbRefBlurPass(across, {0, distance}));
        expectSame("composed", scene, TOLERANCE, qbRefCompose(frame, down, setting.intensity));
    }
}
