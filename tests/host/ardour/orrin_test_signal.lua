ardour {
	["type"]    = "dsp",
	name        = "Orrin Test Signal",
	category    = "Utility",
	license     = "MIT",
	author      = "Orrin Upmix tests",
	description = [[Stereo test signals for the upmix, one kind at a time: hard-left noise, centred speech-like voice, a low tone, a high tone.]]
}

-- Ardour's Lua has no audio import, so the session test bounces this generator into regions.

function dsp_ioconfig ()
	return { { audio_in = 2, audio_out = 2 } }
end

function dsp_params ()
	return { { ["type"] = "input", name = "Signal", min = 0, max = 4, default = 0, integer = true,
		scalepoints = { ["Silence"] = 0, ["Left noise"] = 1, ["Centre voice"] = 2, ["Low tone"] = 3, ["High tone"] = 4 } } }
end

local rate = 48000
local seed = 1
local t = 0 -- samples since start, for the tones and the voice

function dsp_init (r)
	rate = r
end

local function noise ()
	seed = (seed * 1103515245 + 12345) % 2147483648
	return seed / 1073741824 - 1
end

-- A 140 Hz voice: harmonics weighted by three formants (500, 1500, 2500 Hz), spoken in
-- syllables four times a second.
local f0, weights = 140, {}
for k = 1, 20 do
	local f = k * f0
	weights[k] = math.exp (-((f - 500) / 200) ^ 2) + 0.5 * math.exp (-((f - 1500) / 300) ^ 2)
	           + 0.25 * math.exp (-((f - 2500) / 400) ^ 2)
end

local function voice (n)
	local v, w = 0, 2 * math.pi * f0 * n / rate
	for k = 1, 20 do
		v = v + weights[k] * math.sin (k * w)
	end
	local syllable = 0.5 - 0.5 * math.cos (2 * math.pi * 4 * n / rate)
	return 0.25 * v * syllable
end

function dsp_run (ins, outs, n_samples)
	local kind = math.floor (CtrlPorts:array ()[1] + 0.5)
	local l, r = outs[1]:array (), outs[2]:array ()
	for i = 1, n_samples do
		local a, b = 0, 0
		if kind == 1 then
			a = 0.3 * noise ()
		elseif kind == 2 then
			a = voice (t); b = a
		elseif kind == 3 then
			a = 0.4 * math.sin (2 * math.pi * 50 * t / rate); b = a
		elseif kind == 4 then
			a = 0.4 * math.sin (2 * math.pi * 2000 * t / rate); b = a
		end
		l[i], r[i] = a, b
		t = t + 1
	end
end
