#include "emulated_run.h"

#include <gmock/gmock.h>
#include <regex>

// What independent analysers read in the stream that leaves the board.

namespace {

constexpr std::pair<const char*, const char*> settings[] = {{"SERVICE_ID", "100"}, {"TS_ID", "7"},
    {"NETWORK_ID", "9"}, {"NIT_VERSION", "5"}, {"NETWORK_NAME", "Shop Network"}, {"VISIBLE_SERVICE", "true"},
    {"LCN", "42"}, {"SERVICE_PROVIDER_NAME", "Shop TV"}, {"SERVICE_NAME", "Shop Window"},
    {"VIDEO_FRAMERATE", "25"}, {"VIDEO_CODEC", "H264"}, {"AUDIO_ENABLED", "true"}};

/// Fields of the first packet that matches a filter, with CRCs verified (1: good).
std::string fields(const std::string& stream, const std::string& filter, const std::string& names)
{
    const std::string lines =
        output_of_command("HOME=/nonexistent WIRESHARK_CONFIG_DIR=/nonexistent tshark -r " + stream
            + " -o mpeg_sect.verify_crc:TRUE -Y '" + filter + "' -T fields"
            + std::regex_replace(" " + names, std::regex(" "), " -e "));
    return lines.substr(0, lines.find('\n'));
}

constexpr struct {
    const char* filter;
    const char* names;
    const char* values;
} tables[] = {
    {"mpeg_pat", "mpeg_sect.crc.status mpeg_pat.tsid mpeg_pat.prog_num mpeg_pat.prog_map_pid",
        "1\t0x0007\t0x0000,0x0064\t0x0010,0x0100"},
    {"mpeg_pmt",
        "mpeg_sect.crc.status mpeg_pmt.pg_num mpeg_pmt.pcr_pid mpeg_pmt.stream.type "
        "mpeg_pmt.stream.elementary_pid",
        "1\t0x0064\t0x1001\t0x1b,0x03\t0x1011,0x1100"},
    // The number is shown with the five reserved ones above its ten bits: 0x7C00 | 42, bit 14 apart.
    {"dvb_nit",
        "mpeg_sect.crc.status dvb_nit.sid dvb_nit.version mpeg_descr.net_name.name dvb_nit.ts.id "
        "mpeg_descr.nordig.lcd.svc_list.lcn",
        "1\t0x0009\t0x05\tShop Network\t0x0007\t0x3c2a"},
    {"dvb_sdt",
        "mpeg_sect.crc.status dvb_sdt.tsid dvb_sdt.svc.id mpeg_descr.svc.provider_name "
        "mpeg_descr.svc.svc_name",
        "1\t0x0007\t0x0064\tShop TV\tShop Window"},
    {"dvb_eit", "mpeg_sect.crc.status dvb_eit.sid dvb_eit.evt.id dvb_eit.evt.start_time dvb_eit.evt.duration",
        "1\t0x0064\t0x000b\tNov 18, 2026 14:05:09.000000000 UTC\t0x002000"},
    {"dvb_tdt", "dvb_tdt.utc_time", "Nov 18, 2026 14:05:09.000000000 UTC"},
    {"dvb_tot", "mpeg_sect.crc.status dvb_tot.utc_time mpeg_descr.local_time_offset.country_code",
        "1\tNov 18, 2026 14:05:09.000000000 UTC\tFRA"},
    {"_ws.expert || _ws.malformed || mp2t.cc.drop || mpeg_sect.crc.status == 0",
        "frame.number mp2t.pid _ws.expert.message", ""},
};

void expect_tables_as_set(const std::vector<std::string>& options, const std::string& stream)
{
    run_request request{{"--stream", stream}};
    for (const auto& [name, value] : settings)
        request.settings.emplace_back(std::string("PREF_SYSTEM_ENCODER_1_") + name, value);
    request.options.insert(request.options.end(), options.begin(), options.end());
    const run_result result = run_daemon_emulated(request);
    ASSERT_EQ(result.emulator_status, 0) << result.summary;
    for (const auto& [filter, names, values] : tables)
        EXPECT_EQ(fields(stream, filter, names), values) << testing::PrintToString(options);
}

} // namespace

TEST(Analysers, ReadTheTablesAsSet)
{
    const temporary_folder folder;
    for (const char* generation : {"2", "3"})
        expect_tables_as_set(
            {"--duration", "30", "--generation", generation}, (folder.path / "stream.ts").string());
}

TEST(Analysers, OpenTheStreamOfAnEncoder)
{
    const temporary_folder folder;
    const std::string encoder = (folder.path / "encoder.ts").string();
    const std::string stream = (folder.path / "stream.ts").string();
    ASSERT_EQ(
        output_of_command("ffmpeg -v error -f lavfi -i testsrc2=size=352x288:rate=25 -t 4 -c:v libx264"
                          " -preset ultrafast -b:v 500k -maxrate 500k -bufsize 500k -f mpegts -muxrate 1500k"
                          " -streamid 0:4113 "
            + encoder),
        "");
    expect_tables_as_set({"--encoder", encoder}, stream);

    const std::string probed = output_of_command("ffprobe -v error -show_programs -of compact " + stream);
    for (const char* found : {"program_num=100", "pcr_pid=4097", "service_name=Shop Window",
             "service_provider=Shop TV", "codec_name=h264"})
        EXPECT_THAT(probed, testing::HasSubstr(found));
    EXPECT_EQ(output_of_command("ffmpeg -v error -i " + stream + " -f null - 2>&1"), "");
}
