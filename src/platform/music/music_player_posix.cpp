#include "platform/music/music_player.h"

#include "platform/path.h"

#include <chrono>
#include <clocale>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gst/gst.h>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

// Opening a sound device can take seconds when a sound server is slow or missing, and GStreamer does it
// inside the change of state. So each tune has a thread of its own that brings the pipeline to the wanted
// state; the caller only names that state.

namespace {

// How long a stop waits for the sound to end: a device that hangs must not hold up the show.
constexpr auto STOP_WAIT = std::chrono::seconds(1);

// What a machine lacks when GStreamer finds no element for a stream.
struct MissingPackage {
    const char* type;
    const char* package;
};
constexpr MissingPackage missingPackages[] = {
    {"audio/mpeg", "gstreamer1.0-plugins-good"},  {"application/x-id3", "gstreamer1.0-plugins-good"},
    {"audio/x-wav", "gstreamer1.0-plugins-good"}, {"video/mpeg", "gstreamer1.0-plugins-bad"},
    {"video/mpegts", "gstreamer1.0-plugins-bad"}, {"audio/x-ac3", "gstreamer1.0-plugins-ugly"},
};

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* item) const {
        release(item);
    }
};
using Error = std::unique_ptr<GError, Release<g_error_free>>;
using Caps = std::unique_ptr<GstCaps, Release<gst_caps_unref>>;
using Pad = std::unique_ptr<GstPad, Release<gst_object_unref>>;
using Bus = std::unique_ptr<GstBus, Release<gst_object_unref>>;

// Shared by the player and the tune's thread, so that a thread that hangs in a device keeps what it works on.
struct Tune {
    std::string name;
    int file = -1;
    GstElement* pipeline = nullptr;
    GstElement* converter = nullptr; // of the pipeline: where the decoded sound goes in
    GstElement* sink = nullptr;      // of the pipeline

    std::mutex mutex; // guards all below
    std::condition_variable changed;
    GstState wanted = GST_STATE_NULL;
    GstState reached = GST_STATE_NULL;
    bool changing = false; // on the way from `reached` to a wanted state
    bool ending = false;

    Tune() = default;
    ~Tune();
    Tune(const Tune&) = delete;
    Tune& operator=(const Tune&) = delete;
};

} // namespace

struct QbMusicPlayer {
    std::shared_ptr<Tune> tune; // null until a file is loaded
    std::thread thread;
};

static std::string sinkDescription; // empty: the default output

Tune::~Tune() {
    if (pipeline) {
        const Bus bus(gst_element_get_bus(pipeline));
        gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
        gst_object_unref(pipeline);
    }
    if (file >= 0) close(file);
}

// --- GStreamer as a whole -------------------------------------------------------------------------------

// What a media library warns of is no trouble of the user's.
static void logTrouble(const gchar* domain, GLogLevelFlags level, const gchar* text, gpointer data) {
    if ((level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL)) != 0)
        g_log_default_handler(domain, level, text, data);
}

// These two write to the console by themselves when they find no device.
static void dropNoisySinks() {
    for (const char* name : {"openalsink", "jackaudiosink"}) {
        GstPluginFeature* feature =
            gst_registry_find_feature(gst_registry_get(), name, GST_TYPE_ELEMENT_FACTORY);
        if (!feature) continue;
        gst_plugin_feature_set_rank(feature, GST_RANK_NONE);
        gst_object_unref(feature);
    }
}

static bool startGstreamer() {
    g_log_set_default_handler(logTrouble, nullptr);
    GError* error = nullptr;
    const bool started = gst_init_check(nullptr, nullptr, &error) != FALSE;
    const Error owner(error);
    setlocale(LC_NUMERIC, "C"); // it takes over the user's language: scripts hold decimal points
    if (!started) {
        fprintf(stderr, "No sound: GStreamer does not start: %s.\n",
                error ? error->message : "no reason given");
        return false;
    }
    dropNoisySinks();
    return true;
}

static bool gstreamerIsReady() {
    static const bool ready = startGstreamer();
    return ready;
}

// A machine that lacks one element lacks its whole package: one line says enough, however many tunes there
// are.
static GstElement* createElement(const char* name, const char* package) {
    static bool reported = false;
    GstElement* element = gst_element_factory_make(name, nullptr);
    if (!element && !std::exchange(reported, true))
        fprintf(stderr, "No sound: GStreamer has no element \"%s\"; install %s.\n", name, package);
    return element;
}

// --- sink -----------------------------------------------------------------------------------------------

// Takes the sound at the speed of the clock and drops it.
static GstElement* createSilence() {
    GstElement* sink = gst_element_factory_make("fakesink", nullptr);
    if (sink) g_object_set(sink, "sync", TRUE, nullptr);
    return sink;
}

static GstElement* createNamedSink(const char* description) {
    GError* error = nullptr;
    GstElement* sink = gst_parse_bin_from_description(description, TRUE, &error);
    const Error owner(error);
    if (sink && !error) return sink;
    fprintf(stderr, "No sound: the sink \"%s\" does not work: %s.\n", description,
            error ? error->message : "no reason given");
    if (sink) gst_object_unref(gst_object_ref_sink(sink));
    return nullptr;
}

static GstElement* createSink() {
    GstElement* sink = sinkDescription.empty() ? createElement("autoaudiosink", "gstreamer1.0-plugins-good")
                                               : createNamedSink(sinkDescription.c_str());
    return sink ? sink : createSilence();
}

// The default output falls back to silence by itself when it finds no device.
static bool isSilent(GstElement* sink) {
    if (!GST_IS_BIN(sink)) return false;
    GstIterator* children = gst_bin_iterate_elements(GST_BIN(sink));
    GValue item = G_VALUE_INIT;
    bool silent = false;
    while (gst_iterator_next(children, &item) == GST_ITERATOR_OK) {
        GstElementFactory* factory = gst_element_get_factory(GST_ELEMENT(g_value_get_object(&item)));
        silent = silent || (factory && strcmp(GST_OBJECT_NAME(factory), "fakesink") == 0);
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(children);
    return silent;
}

// --- pipeline -------------------------------------------------------------------------------------------
//
// fdsrc ! decodebin ! audioconvert ! audioresample ! sink, the decoder linked once it knows the file.
// Pictures and texts of a film are left undecoded and unlinked, so that nothing can ever open a window.

// Answers to "autoplug-select", which no header of GStreamer names.
enum Autoplug : gint { AUTOPLUG_TRY = 0, AUTOPLUG_EXPOSE = 1 };

static gint chooseElement(GstElement*, GstPad*, GstCaps*, GstElementFactory* factory, gpointer) {
    const bool drawsPictures = gst_element_factory_list_is_type(
        factory, GST_ELEMENT_FACTORY_TYPE_DECODER | GST_ELEMENT_FACTORY_TYPE_MEDIA_VIDEO |
                     GST_ELEMENT_FACTORY_TYPE_MEDIA_IMAGE | GST_ELEMENT_FACTORY_TYPE_MEDIA_SUBTITLE);
    return drawsPictures ? AUTOPLUG_EXPOSE : AUTOPLUG_TRY;
}

static void linkSound(GstElement*, GstPad* pad, gpointer data) {
    const Caps caps(gst_pad_query_caps(pad, nullptr));
    if (!caps || gst_caps_is_any(caps.get()) || gst_caps_is_empty(caps.get())) return;
    if (!gst_structure_has_name(gst_caps_get_structure(caps.get(), 0), "audio/x-raw")) return;
    const Pad input(gst_element_get_static_pad(static_cast<Tune*>(data)->converter, "sink"));
    if (!gst_pad_is_linked(input.get())) gst_pad_link(pad, input.get());
}

// A film whose pictures find no decoder is none of it: of MPEG's types only the container counts.
static bool matters(const GstStructure* stream) {
    gboolean container = FALSE;
    gst_structure_get_boolean(stream, "systemstream", &container);
    return !gst_structure_has_name(stream, "video/mpeg") || container != FALSE;
}

static void reportMissingDecoder(const Tune& tune, const GstStructure* message) {
    const GValue* detail = gst_structure_get_value(message, "detail");
    if (!detail || !GST_VALUE_HOLDS_CAPS(detail)) return;
    const GstCaps* caps = gst_value_get_caps(detail);
    if (!caps || gst_caps_get_size(caps) == 0) return;
    const GstStructure* stream = gst_caps_get_structure(caps, 0);
    for (const MissingPackage& missing : missingPackages) {
        if (!gst_structure_has_name(stream, missing.type) || !matters(stream)) continue;
        fprintf(stderr, "No sound from %s: nothing here reads %s; install %s.\n", tune.name.c_str(),
                missing.type, missing.package);
    }
}

// Nobody else reads the messages: they are dropped here, on the thread that sends them.
static GstBusSyncReply readMessage(GstBus*, GstMessage* message, gpointer data) {
    const GstStructure* content = gst_message_get_structure(message);
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ELEMENT && gst_structure_has_name(content, "missing-plugin"))
        reportMissingDecoder(*static_cast<Tune*>(data), content);
    gst_message_unref(message);
    return GST_BUS_DROP;
}

static bool buildPipeline(Tune& tune) {
    tune.pipeline = gst_pipeline_new(nullptr);
    gst_object_ref_sink(tune.pipeline);
    GstElement* source = createElement("fdsrc", "libgstreamer1.0-0");
    GstElement* decoder = createElement("decodebin", "gstreamer1.0-plugins-base");
    tune.converter = createElement("audioconvert", "gstreamer1.0-plugins-base");
    GstElement* resampler = createElement("audioresample", "gstreamer1.0-plugins-base");
    bool whole = source && decoder && tune.converter && resampler;
    tune.sink = whole ? createSink() : nullptr;
    for (GstElement* element : {source, decoder, tune.converter, resampler, tune.sink}) {
        whole = whole && element;
        if (element) gst_bin_add(GST_BIN(tune.pipeline), element);
    }
    if (!whole || !gst_element_link(source, decoder) ||
        !gst_element_link_many(tune.converter, resampler, tune.sink, nullptr))
        return false;
    g_object_set(source, "fd", tune.file, nullptr);
    g_signal_connect(decoder, "autoplug-select", G_CALLBACK(chooseElement), nullptr);
    g_signal_connect(decoder, "pad-added", G_CALLBACK(linkSound), &tune);
    const Bus bus(gst_element_get_bus(tune.pipeline));
    gst_bus_set_sync_handler(bus.get(), readMessage, &tune, nullptr);
    return true;
}

// --- the tune's thread ----------------------------------------------------------------------------------

static void enterState(const Tune& tune, GstState from, GstState to) {
    const auto restart = [&] { static_cast<void>(lseek(tune.file, 0, SEEK_SET)); };
    if (from == GST_STATE_NULL) restart();
    if (to == GST_STATE_PLAYING && from == GST_STATE_PAUSED && isSilent(tune.sink)) {
        // The tune before this one may have held the device when this one was prepared.
        gst_element_set_state(tune.pipeline, GST_STATE_NULL);
        restart();
    }
    gst_element_set_state(tune.pipeline, to);
}

static void followWishes(const std::shared_ptr<Tune>& tune) {
    std::unique_lock lock(tune->mutex);
    while (true) {
        tune->changed.wait(lock, [&] { return tune->wanted != tune->reached || tune->ending; });
        if (tune->wanted == tune->reached) return;
        const GstState from = tune->reached;
        const GstState to = tune->wanted;
        tune->changing = true;
        lock.unlock();
        enterState(*tune, from, to);
        lock.lock();
        tune->reached = to;
        tune->changing = false;
        tune->changed.notify_all();
    }
}

static int want(const QbMusicPlayer* player, GstState state) {
    if (!player || !player->tune) return -1;
    const std::lock_guard lock(player->tune->mutex);
    player->tune->wanted = state;
    player->tune->changed.notify_all();
    return 0;
}

static void stop(Tune& tune, bool ending) {
    const std::lock_guard lock(tune.mutex);
    tune.wanted = GST_STATE_NULL;
    tune.ending = ending;
    tune.changed.notify_all();
}

// True when the pipeline came to rest in time.
static bool waitForRest(Tune& tune) {
    std::unique_lock lock(tune.mutex);
    return tune.changed.wait_for(lock, STOP_WAIT,
                                 [&] { return !tune.changing && tune.reached == GST_STATE_NULL; });
}

static void unload(QbMusicPlayer* player) {
    if (!player->tune) return;
    stop(*player->tune, true);
    if (waitForRest(*player->tune))
        player->thread.join();
    else
        player->thread.detach();
    player->tune.reset();
}

// --- interface ------------------------------------------------------------------------------------------

// A pipe or a device could block for ever, here or in the pipeline: only plain files are opened.
static int openFile(const char* path) {
    std::string found;
    if (!qbPathResolve(path, found)) return -1;
    const int file = open(found.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status = {};
    if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode)) return file;
    if (file >= 0) close(file);
    return -1;
}

QbMusicPlayer* qbMusicPlayerCreate() {
    return new (std::nothrow) QbMusicPlayer;
}

int qbMusicPlayerLoad(QbMusicPlayer* player, const char* path) {
    unload(player);
    if (!gstreamerIsReady()) return -1;
    auto tune = std::make_shared<Tune>();
    tune->name = path;
    tune->file = openFile(path);
    if (tune->file < 0 || !buildPipeline(*tune)) return -1;
    try {
        player->thread = std::thread(followWishes, tune);
    } catch (const std::system_error&) {
        return -1;
    }
    player->tune = std::move(tune);
    return want(player, GST_STATE_PAUSED);
}

int qbMusicPlayerRun(QbMusicPlayer* player) {
    return want(player, GST_STATE_PLAYING);
}

int qbMusicPlayerPause(QbMusicPlayer* player) {
    return want(player, GST_STATE_PAUSED);
}

int qbMusicPlayerStop(QbMusicPlayer* player) {
    if (!player || !player->tune) return -1;
    stop(*player->tune, false);
    waitForRest(*player->tune);
    return 0;
}

void qbMusicPlayerFree(QbMusicPlayer* player) {
    if (!player) return;
    unload(player);
    delete player;
}

void qbMusicPlayerSetSink(const char* description) {
    sinkDescription = description ? description : "";
}
