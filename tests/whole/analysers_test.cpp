#include "emulated_run.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

// What independent analysers read in the stream that leaves the board.

namespace {

const setting_list settings{
    {"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"},
    {"PREF_SYSTEM_ENCODER_1_TS_ID", "7"},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "9"},
    {"PREF_SYSTEM_ENCODER_1_NIT_VERSION", "5"},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_NAME", "Shop Network"},
    {"PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", "true"},
    {"PREF_SYSTEM_ENCODER_1_LCN", "42"},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", "Shop TV"},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", "Shop Window"},
    {"PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE", "25"},
    {"PREF_SYSTEM_ENCODER_1_VIDEO_CODEC", "H264"},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", "true"},
};

/// Fields of the first packet that matches a filter, with CRCs verified (1: good).
std::string fields(const std::string& stream, const std::string& filter, const std::string& names)
{
    std::string command =
        "tshark -r " + stream + " -o mpeg_sect.verify_crc:TRUE -Y '" + filter + "' -T fields";
    for (std::size_t begin = 0; begin < names.size();) {
        const std::size_t end = std::min(names.find(' ', begin), names.size());
        command += " -e " + names.substr(begin, end - begin);
        begin = end + 1;
    }
    const std::string lines = output_of_command(command);
    return lines.substr(0, lines.find('\n'));
}

struct analysed_table {
    const char* filter;
    const char* names;
    const char* values;
};

constexpr analysed_table tables[] = {
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
};

} // namespace

TEST(Analysers, ReadTheTablesAsSet)
{
    const temporary_folder folder;
    const std::string stream = (folder.path / "stream.ts").string();
    for (const char* generation : {"2", "3"}) {
        const run_result result = run_daemon_emulated(
            {{"--duration", "30", "--generation", generation, "--start", "2026-11-18 14:05:09"}, settings},
            stream);
        ASSERT_EQ(result.emulator_status, 0) << result.summary;
        for (const auto& [filter, names, values] : tables)
            EXPECT_EQ(fields(stream, filter, names), values) << generation;
        EXPECT_EQ(fields(stream, "_ws.expert || _ws.malformed || mp2t.cc.drop || mpeg_sect.crc.status == 0",
                      "frame.number mp2t.pid _ws.expert.message"),
            "")
            << generation;
    }
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
    const run_result result =
        run_daemon_emulated({{"--encoder", encoder, "--start", "2026-11-18 14:05:09"}, settings}, stream);
    ASSERT_EQ(result.emulator_status, 0) << result.summary;

    const std::string probed =
        output_of_command("ffprobe -v error -show_programs -of compact " + stream + " 2>&1");
    EXPECT_THAT(probed, HasSubstr("program_num=100"));
    EXPECT_THAT(probed, HasSubstr("pcr_pid=4097"));
    EXPECT_THAT(probed, HasSubstr("service_name=Shop Window"));
    EXPECT_THAT(probed, HasSubstr("service_provider=Shop TV"));
    EXPECT_THAT(probed, HasSubstr("codec_name=h264"));
    EXPECT_EQ(output_of_command("ffmpeg -v error -i " + stream + " -f null - 2>&1"), "");
    for (const auto& [filter, names, values] : tables)
        EXPECT_EQ(fields(stream, filter, names), values);
    EXPECT_EQ(fields(stream, "_ws.expert || mp2t.cc.drop", "frame.number mp2t.pid _ws.expert.message"), "");
}
