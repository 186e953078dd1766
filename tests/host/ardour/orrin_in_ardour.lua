-- Orrin Upmix in Ardour 7, headless, as a user would set it up: a stereo track with strict I/O
-- off, the plug-in inserted, a few parameters set, the session saved; then, in a new Ardour,
-- the session reopened and a test signal bounced through the plug-in.
--
-- Run by tests/host/ardour/run, which gives Ardour a private home and installs the test-signal
-- generator: ardour7-lua this-file, with ORRIN_ARDOUR_STEP=create or check and
-- ORRIN_ARDOUR_SESSION=<session folder>. Prints one "ok" or "FAIL" line per check and a closing
-- "checks: N failed" line (Ardour's Lua cannot set the process's exit status).
io.stdout:setvbuf ("no")

-- One row per plug-in a user can insert: format, output layout, the plug-in (VST3 name or LV2
-- URI) and the speakers its outputs carry, in the order of Ardour's ports.
local rows = {
	{ "VST3", "5.1",   "Orrin Upmix",       "L R C LFE Ls Rs" },
	{ "VST3", "7.1",   "Orrin Upmix 7.1",   "L R C LFE Lrs Rrs Lss Rss" },
	{ "VST3", "7.1.2", "Orrin Upmix 7.1.2", "L R C LFE Lrs Rrs Lss Rss Tsl Tsr" },
	{ "VST3", "7.1.4", "Orrin Upmix 7.1.4", "L R C LFE Lrs Rrs Lss Rss Tfl Tfr Trl Trr" },
	{ "LV2",  "5.1",   "https://kestro.audio/plugins/orrin-upmix",       "L R C LFE Ls Rs" },
	{ "LV2",  "7.1",   "https://kestro.audio/plugins/orrin-upmix/7.1",   "L R C LFE Lss Rss Lrs Rrs" },
	{ "LV2",  "7.1.2", "https://kestro.audio/plugins/orrin-upmix/7.1.2", "L R C LFE Lss Rss Lrs Rrs Tsl Tsr" },
	{ "LV2",  "7.1.4", "https://kestro.audio/plugins/orrin-upmix/7.1.4", "L R C LFE Lss Rss Tfl Tfr Trl Trr Lrs Rrs" },
	-- Ambisonic, ACN order (the default format, AmbiX); order 3 adds Q O M K L N P.
	{ "VST3", "Ambisonic 1", "Orrin Upmix Ambisonic 1", "W Y Z X" },
	{ "VST3", "Ambisonic 3", "Orrin Upmix Ambisonic 3", "W Y Z X V T R S U Q O M K L N P" },
	{ "LV2",  "Ambisonic 2", "https://kestro.audio/plugins/orrin-upmix/ambisonic2", "W Y Z X V T R S U" },
}

local latency = 1536 -- 1.5 analysis frames of 1024 samples

-- Set before saving and expected after reopening: VST3 parameter name, LV2 property, value.
-- The mutes name speakers, which sit at different ports from layout to layout; one side
-- surround and one rear surround, so that the two kinds cannot pass for each other.
local settings = {
	{ "Mute Rs",  "Mute5",        1.0 },
	{ "Mute Lsr", "Mute6",        1.0 },
	{ "Trim LFE", "Trim3",        0.7 },
	{ "Space",    "UpmixPsdWidth", 0.4 },
}

-- The test signal: kind of the generator (0 silence, 1 hard-left noise, 2 centred voice, 3 low
-- tone, 4 high tone) and length in blocks (each kind is bounced on its own).
local block = 8192
local segments = { { 0, 2 }, { 1, 10 }, { 2, 10 }, { 3, 8 }, { 4, 8 }, { 0, 2 } }
local LEFT, VOICE, LOW, HIGH = 2, 3, 4, 5 -- their places in segments
local total = 0
for _, s in ipairs (segments) do s.start = total; total = total + s[2] * block end

local failures, checks = 0, 0

local function check (row, what, good, detail)
	checks = checks + 1
	if not good then failures = failures + 1 end
	print (string.format ("%-4s %s %s: %s (%s)", good and "ok" or "FAIL", row[1], row[2], what, detail or ""))
end

local function db (ratio)
	return 10 * math.log (math.max (ratio, 1e-30), 10)
end

local function track_name (row)
	return row[1] .. " " .. row[2]
end

local function channels (row)
	local names = {}
	for n in row[4]:gmatch ("%S+") do names[#names + 1] = n end
	return names
end

-- Parameters ----------------------------------------------------------------------------------

-- VST3 parameters are plug-in parameters found by name; JUCE's LV2 parameters are patch
-- properties, which Ardour 7 exposes as property controls named after the property's URI.
local function find_control (row, plugin_insert, setting)
	if row[1] == "VST3" then
		local plugin = plugin_insert:plugin (0)
		for i = 0, plugin:parameter_count () - 1 do
			local index, _ = plugin:nth_parameter (i, true)
			if plugin:parameter_label (index) == setting[1] then return i end
		end
		return nil
	end
	local automatable = plugin_insert:to_automatable ()
	local wanted = ":" .. setting[2]
	for parameter in automatable:all_automatable_params ():iter () do
		local control = automatable:automation_control (parameter, false)
		if not control:isnil () and control:name ():match ("^property%-") and control:name ():sub (-#wanted) == wanted then
			return control
		end
	end
	return nil
end

local function set_parameters (row, processor)
	for _, setting in ipairs (settings) do
		local control = find_control (row, processor:to_insert (), setting)
		check (row, "parameter " .. setting[1] .. " found", control ~= nil)
		if control ~= nil then
			if row[1] == "VST3" then
				ARDOUR.LuaAPI.set_processor_param (processor, control, setting[3])
			else
				control:set_value (setting[3], PBD.GroupControlDisposition.NoGroup)
			end
		end
	end
end

-- Ardour's property controls do not follow the plug-in's restored state, so the LV2's
-- parameters are checked by what they do to the audio only.
local function check_parameters (row, processor)
	if row[1] ~= "VST3" then return end
	for _, setting in ipairs (settings) do
		local control = find_control (row, processor:to_insert (), setting)
		local value = control and ARDOUR.LuaAPI.get_processor_param (processor, control)
		check (row, "parameter " .. setting[1] .. " survived the reopen",
			value ~= nil and math.abs (value - setting[3]) < 1e-3, "read " .. tostring (value))
	end
end

-- The plug-in as Ardour configured it --------------------------------------------------------

local function check_configuration (row, track, processor)
	local plugin_insert = processor:to_insert ()
	local wanted = #channels (row)
	check (row, "plug-in outputs", plugin_insert:output_streams ():n_audio () == wanted,
		plugin_insert:input_streams ():n_audio () .. " in, " .. plugin_insert:output_streams ():n_audio () .. " out")
	check (row, "track outputs widened", track:n_outputs ():n_audio () == wanted,
		track:n_outputs ():n_audio () .. " ports")
	check (row, "reported latency", processor:signal_latency () == latency,
		processor:signal_latency () .. " samples, track " .. track:signal_latency ())
end

-- The test signal as regions on the track: Ardour's Lua has no audio import, so a generator on
-- the track is bounced, one kind of signal at a time, and removed again.
local function lay_down_signal (track)
	local generator = ARDOUR.LuaAPI.new_luaproc (Session, "Orrin Test Signal")
	if generator:isnil () then return false end
	track:add_processor_by_index (generator, 0, nil, true)
	local playlist = track:playlist ()
	for _, s in ipairs (segments) do
		ARDOUR.LuaAPI.set_processor_param (generator, 0, s[1])
		local region = track:bounce_range (s.start, s.start + s[2] * block, ARDOUR.InterThreadInfo (),
			generator, true, "signal")
		playlist:add_region (region, Temporal.timepos_t (s.start), 1, false)
	end
	track:remove_processor (generator, nil, true)
	return true
end

-- The bounce ----------------------------------------------------------------------------------

-- Mean square per channel over each segment (skipping its first half second, where the upmix
-- settles, and the latency-long edge at its end), the mean product with the first channel (for
-- Ambisonic W), and the first sample above -60 dBFS.
local function measure (region)
	local readable = region:to_audioregion ():to_readable ()
	local n_channels = region:to_audioregion ():n_channels ()
	local memory = ARDOUR.DSP.DspShm (block)
	local first = ARDOUR.DSP.DspShm (total)
	readable:read (first:to_float (0), 0, total, 0)
	local w = first:to_float (0):array ()
	local energy, with_first, onset = {}, {}, nil
	for c = 1, n_channels do
		energy[c], with_first[c] = {}, {}
		for k = 1, #segments do energy[c][k], with_first[c][k] = 0, 0 end
	end
	for c = 1, n_channels do
		for start = 0, total - 1, block do
			readable:read (memory:to_float (0), start, block, c - 1)
			local a = memory:to_float (0):array ()
			for k, s in ipairs (segments) do
				local from, to = s.start + 24000, s.start + s[2] * block - 2048
				for i = math.max (from, start), math.min (to, start + block) - 1 do
					local x = a[i - start + 1]
					energy[c][k] = energy[c][k] + x * x / (to - from)
					with_first[c][k] = with_first[c][k] + x * w[i + 1] / (to - from)
				end
			end
			if onset == nil or start < onset then
				for i = 1, block do
					if math.abs (a[i]) > 1e-3 then
						if onset == nil or start + i - 1 < onset then onset = start + i - 1 end
						break
					end
				end
			end
		end
	end
	return energy, with_first, onset
end

local function loudest (energy, k, names, accept)
	local best, which = -1, nil
	for c, name in ipairs (names) do
		if (accept == nil or accept (name)) and energy[c][k] > best then best, which = energy[c][k], c end
	end
	return which, best
end

local function is_left (name) return name ~= "LFE" and (name:match ("^L") or name:match ("^T.l$")) end
local function is_right (name) return name:match ("^R") or name:match ("^T.r$") end
local function is_surround (name) return name:match ("^[LR].+") and name ~= "LFE" end

-- ACN with SN3D: Y follows the sine of a source's azimuth (left positive), X its cosine, so
-- a left source makes Y move with W and a centred one X, with Y near zero.
local function check_direction (row, energy, with_first, index)
	local function correlation (name, k)
		local c = index[name]
		return with_first[c][k] / math.sqrt (energy[1][k] * energy[c][k] + 1e-30)
	end
	check (row, "hard-left noise encoded on the left (Y with W)", correlation ("Y", LEFT) > 0.5,
		string.format ("correlation of W and Y %.2f", correlation ("Y", LEFT)))
	check (row, "centred voice encoded in front (X with W, little Y)",
		correlation ("X", VOICE) > 0.5 and db (energy[index["X"]][VOICE] / energy[index["Y"]][VOICE]) > 20,
		string.format ("correlation of W and X %.2f, Y %.1f dB below X", correlation ("X", VOICE),
			db (energy[index["X"]][VOICE] / energy[index["Y"]][VOICE])))
end

local function check_audio (row, track, processor)
	local region = track:bounce_range (0, total, ARDOUR.InterThreadInfo (), processor, true, "upmix")
	local names = channels (row)
	if region:isnil () or region:to_audioregion ():n_channels () ~= #names then
		check (row, "bounce through the plug-in", false, region:isnil () and "no region" or
			region:to_audioregion ():n_channels () .. " channels")
		return
	end
	local energy, with_first, onset = measure (region)
	local index = {}
	for c, name in ipairs (names) do index[name] = c end
	-- The levels behind the checks below, for the log.
	for k, s in ipairs (segments) do
		local line = {}
		for c, name in ipairs (names) do line[#line + 1] = string.format ("%s %.1f", name, db (energy[c][k])) end
		print (string.format ("     %s %s: signal %d, dB: %s", row[1], row[2], s[1], table.concat (line, ", ")))
	end

	-- Ardour delays the other tracks by the reported latency; the bounce is aligned the same way,
	-- so the signal comes out where it went in only if the report is the plug-in's real delay.
	local first = segments[LEFT].start
	check (row, "output aligned with the input (latency compensated)",
		onset ~= nil and math.abs (onset - first) <= 32, "onset " .. tostring (onset) .. ", input " .. first)

	if index["W"] then
		check_direction (row, energy, with_first, index)
		return
	end

	-- At 5.1 and 7.1 the right side stays 40 dB down; the height layouts put about a tenth of the
	-- noise's power on R and the right heights. That is the overhead lift as designed, not a leak:
	-- R gives up gOn Mf - gOff Sf, which for a left-only source is (gOff - gOn) / 2 of it, and the
	-- right overhead takes (gOn - gOff) / 2 of it, whenever the on- and off-phase values differ.
	local c, e = loudest (energy, LEFT, names)
	local _, e_right = loudest (energy, LEFT, names, is_right)
	check (row, "hard-left noise loudest in a left speaker", is_left (names[c]) and db (e / e_right) > 6,
		string.format ("loudest %s, the right side %.1f dB below", names[c], db (e / e_right)))

	-- The default upmix keeps much of a centred source in L and R (a phantom centre): the voice
	-- must reach C, and the surrounds must stay clear of it.
	local _, e_voice = loudest (energy, VOICE, names)
	local s, e_surround = loudest (energy, VOICE, names, is_surround)
	local e_centre = energy[index["C"]][VOICE]
	check (row, "centred voice in C, not in the surrounds", db (e_voice / e_centre) < 30 and db (e_centre / e_surround) > 20,
		string.format ("C %.1f dB below the loudest, loudest surround %s %.1f dB below C",
			db (e_voice / e_centre), tostring (names[s]), db (e_centre / e_surround)))

	local lfe = energy[index["LFE"]]
	check (row, "LFE carries the low tone only", db (lfe[LOW]) > -60 and db (lfe[LOW] / lfe[HIGH]) > 40,
		string.format ("LFE: low tone %.1f dB, high tone %.1f dB", db (lfe[LOW]), db (lfe[HIGH])))

	-- "Rs" is the side surround of the 7.x layouts, "Lsr" their left rear surround.
	for _, muted in ipairs ({ "Rs", "Rss", "Lrs" }) do
		if index[muted] then
			local sum = 0
			for k = 1, #segments do sum = sum + energy[index[muted]][k] end
			check (row, "the muted " .. muted .. " silent after the reopen", db (sum) < -100, string.format ("%.1f dB", db (sum)))
		end
	end
end

-- Steps ---------------------------------------------------------------------------------------

local step, folder = os.getenv ("ORRIN_ARDOUR_STEP"), os.getenv ("ORRIN_ARDOUR_SESSION")
AudioEngine:set_backend ("None (Dummy)", "", "")

if step == "create" then
	local session = create_session (folder, "orrin", 48000)
	assert (session, "cannot create a session in " .. folder)
	for _, row in ipairs (rows) do
		local track = Session:new_audio_track (2, 2, nil, 1, track_name (row),
			ARDOUR.PresentationInfo.max_order, ARDOUR.TrackMode.Normal, true):front ()
		-- Strict I/O keeps a stereo track at two channels and drops the surround outputs.
		track:set_strict_io (false)
		check (row, "test signal laid down", lay_down_signal (track))
		local processor = ARDOUR.LuaAPI.new_plugin (Session, row[3], ARDOUR.PluginType[row[1]], "")
		check (row, "plug-in found", not processor:isnil (), row[3])
		if not processor:isnil () then
			track:add_processor_by_index (processor, 0, nil, true)
			check_configuration (row, track, processor)
			set_parameters (row, processor)
		end
	end
	-- An LV2 property change reaches the plug-in with its next processing cycle; the state saved
	-- before that would not have it.
	sleep (1)
	Session:save_state ("", false, false, false, false, false)
elseif step == "check" then
	local session = load_session (folder, "orrin")
	assert (session, "cannot open the session in " .. folder)
	for _, row in ipairs (rows) do
		local track = Session:route_by_name (track_name (row))
		local processor = track:isnil () and nil or track:nth_plugin (0)
		check (row, "plug-in back after the reopen", processor ~= nil and not processor:isnil ())
		if processor ~= nil and not processor:isnil () then
			track = track:to_track ()
			check_configuration (row, track, processor)
			check_parameters (row, processor)
			check_audio (row, track, processor)
		end
	end
end

print (string.format ("checks: %d failed of %d", failures, checks))
close_session ()
