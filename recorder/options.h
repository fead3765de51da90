/**
 * @file
 * The command line. Long options only, read once before anything else runs.
 */
#pragma once

namespace capd {

/**
 * Take the options over into the settings and confirm them on standard output. An option that is not known or lacks
 * its argument gets getopt_long()'s diagnostic and is passed over. Numbers are taken as they come: text counts as 0,
 * a negative size wraps. A self-test sequence that does not exist is logged and dropped, so that the keys stay in
 * charge.
 */
void parse_options(int argc, char* argv[]);

} // namespace capd
