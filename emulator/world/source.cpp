#include "emulator/world/source.h"

#include <algorithm>

namespace emu {

namespace {

/**
 * Shortest break of the picture when a source changes its format. It mutes, stops its clock, sets its pixel clock anew
 * and waits until that has settled: players and PCs take from half a second to some seconds. A sink that looks for the
 * break now and then, as a firmware does that polls, sees it by that length and nothing else.
 */
constexpr Micros FORMAT_BREAK = 1'000'000;

bool same_timing(const Format& a, const Format& b)
{
    return a.clock_khz == b.clock_khz && a.h_total() == b.h_total() && a.h_active == b.h_active && a.lines == b.lines &&
           a.v_active == b.v_active && a.interlaced == b.interlaced;
}

/** Whether a receiver measures something else, though the timing is one. */
bool differs_in_measure(const Signal& a, const Signal& b)
{
    return a.clock_error_percent != b.clock_error_percent || a.jitter != b.jitter || a.fields != b.fields;
}

bool differs_in_picture(const Signal& a, const Signal& b)
{
    return a.avi_frame() != b.avi_frame() || a.claims.avi_delay != b.claims.avi_delay;
}

bool differs_in_sound(const Signal& a, const Signal& b)
{
    return a.sound() != b.sound() || a.audio_frame() != b.audio_frame() || a.channel_status() != b.channel_status() ||
           a.claims.audio_delay != b.claims.audio_delay;
}

} // namespace

void Source::notify(Change change) const
{
    for (const Listener& listener : listeners_) listener(change);
}

void Source::notify_content() const
{
    if (sends_) notify(Change::Content);
}

void Source::refresh()
{
    const bool held = asks_ && signal_.hdcp.meanwhile == Hdcp::Meanwhile::SendsNothing;
    const bool sends = started_ && sync_ && !drop_.gone && !held && signal_.format.lines != 0;
    if (sends == sends_) return;
    sends_ = sends;
    time_.cancel(tell_picture_);
    time_.cancel(tell_sound_);
    told_.avi = {};
    if (sends) {
        tell_picture();
        tell_sound();
    }
    notify(Change::Link);
}

void Source::tell_picture()
{
    time_.cancel(tell_picture_);
    const auto tell = [this] { told_.avi = signal_.avi_frame(); };
    if (signal_.claims.avi_delay == 0 || signal_.avi_frame() == told_.avi) return tell();
    tell_picture_ = time_.after(signal_.claims.avi_delay, [this, tell] {
        tell();
        notify_content();
    });
}

/** Sound that was not there before is told at once: there is nothing that could lag behind. */
void Source::tell_sound()
{
    time_.cancel(tell_sound_);
    const auto tell = [this] {
        told_.audio = signal_.audio_frame();
        told_.status = signal_.channel_status();
        told_.sound = signal_.sound() != AudioKind::None;
    };
    if (signal_.claims.audio_delay == 0 || !told_.sound) return tell();
    tell_sound_ = time_.after(signal_.claims.audio_delay, [this, tell] {
        tell();
        notify_content();
    });
}

void Source::restart(Micros delay)
{
    time_.cancel(start_);
    time_.cancel(hdcp_);
    started_ = asks_ = false;
    refresh();
    if (!powered_ || !terminated_ || delay == NEVER) return;
    if (delay == 0) return start();
    start_ = time_.after(delay, [this] { start(); });
}

void Source::start()
{
    started_ = true;
    ask();
    refresh();
}

/** Ask for HDCP if it wants it, from now on. */
void Source::ask()
{
    time_.cancel(hdcp_);
    asks_ = started_ && signal_.hdcp.meanwhile != Hdcp::Meanwhile::DoesNotAsk;
    if (!asks_ || signal_.hdcp.patience == NEVER) return;
    hdcp_ = time_.after(signal_.hdcp.patience, [this] {
        asks_ = false;
        refresh();
        notify_content();
    });
}

void Source::plug(const Signal& signal)
{
    unplug();
    plugged_ = true;
    signal_ = signal;
    set_power(true);
}

void Source::unplug()
{
    end(drop_);
    end(flap_);
    plugged_ = false;
    set_power(false);
    sync_ = true;
    signal_ = {};
    told_ = {};
}

void Source::set_power(bool on)
{
    switched_on_ = on;
    follow_power();
}

void Source::follow_power()
{
    const bool on = switched_on_ && !flap_.gone;
    if (on == powered_) return;
    powered_ = on;
    notify(Change::Power);
    restart(start_delay_);
}

void Source::set_sync(bool on)
{
    sync_ = on;
    refresh();
}

void Source::set_terminated(bool on)
{
    if (on == terminated_) return;
    terminated_ = on;
    restart(start_delay_);
}

void Source::set_start_delay(Micros delay)
{
    start_delay_ = delay;
    if (!started_) restart(start_delay_);
}

void Source::change(const Signal& signal, bool seamless)
{
    const bool other_timing =
        !same_timing(signal.on_cable(), signal_.on_cable()) || signal.depth_bits != signal_.depth_bits;
    if (other_timing && !seamless) {
        time_.cancel(start_);
        started_ = false;
        refresh();
        signal_ = signal;
        restart(std::max(start_delay_, FORMAT_BREAK));
        return;
    }
    const bool other_measure = other_timing || differs_in_measure(signal, signal_);
    const bool other_hdcp = signal.hdcp != signal_.hdcp;
    const bool other_picture = differs_in_picture(signal, signal_), other_sound = differs_in_sound(signal, signal_);
    signal_ = signal;
    if (other_hdcp) ask();
    refresh();
    if (!sends_) return;
    if (other_picture) tell_picture();
    if (other_sound) tell_sound();
    if (other_measure) notify(Change::Timing);
    notify(Change::Content);
}

void Source::begin(Flicker& flicker, unsigned times, Micros each)
{
    end(flicker);
    flicker.left = times;
    flicker.each = each;
    next(flicker);
}

void Source::next(Flicker& flicker)
{
    if (flicker.gone || flicker.left != 0) {
        if (!flicker.gone) --flicker.left;
        flicker.gone = !flicker.gone;
        flicker.event = time_.after(flicker.each, [this, &flicker] { next(flicker); });
    }
    (this->*flicker.follow)();
}

void Source::end(Flicker& flicker)
{
    time_.cancel(flicker.event);
    flicker.left = 0;
    flicker.gone = false;
}

std::string Source::describe() const
{
    if (!powered_) return "nothing, or a source that is off";
    if (signal_.format.lines == 0) return "5 V on, no picture";
    return "5 V on, " + signal_.describe() + (muted() ? ", AV mute" : "") + (asks_ ? ", asks for HDCP" : "") +
           (sends_ ? ", sends" : ", does not send");
}

} // namespace emu
