#include "scenerecipes.h"

namespace {

// Every scene draws one rectangle over the screen; positions pass through.
// `p` is the point on screen, -1 to 1 in y and wider in x by the aspect.
const char* const kHead = R"(struct PSInput
{
	float4 hpos : POSITION;
	float2 tex : TEXCOORD0;
};

PSInput VS_Program(VSInput vi)
{
	PSInput pi;
	pi.hpos = float4(vi.pos.xyz, 1.0);
	pi.tex = vi.tex;
	return pi;
}

float2 ScreenPoint(float2 tex)
{
	float aspect = targetsize.x / max(targetsize.y, 1.0);
	return (tex * 2.0 - 1.0) * float2(max(aspect, 0.1), 1.0);
}

float3 Palette(float t, float3 phase)
{
	return 0.5 + 0.5 * cos(6.2831853 * (t + phase));
}

float Hash(float2 p)
{
	return frac(sin(dot(p, float2(127.1, 311.7))) * 43758.5453);
}
)";

// Sound into the shader's inputs once a frame: in1 = (beat, bass, treble),
// in2 = (mid, slow bass, high spectrum); quiet fallbacks keep scenes moving
// in silence.
const char* const kSound =
    "in1.x = beat(0.35); in1.y = band(-1, 1, 0, 0.3); in1.z = band(-1, 1, 2, 0.2); "
    "in2.x = band(-1, 1, 1, 0.25); in2.y = band(-1, 3, 0, 0.3); in2.z = spectrum(-1, 0.6, 0.1, 0.2)";

// Nine points of the spectrum for the bar scene; without music the bars
// sway gently.
const char* const kSpectrumBars =
    "in1.x = spectrum(-1, 0.02, 0.3 + 0.1 * sin(time * 2.0), 0.04) * 3; "
    "in1.y = spectrum(-1, 0.06, 0.3 + 0.1 * sin(time * 2.0 + 0.7), 0.05) * 3; "
    "in1.z = spectrum(-1, 0.12, 0.3 + 0.1 * sin(time * 2.0 + 1.4), 0.06) * 3; "
    "in2.x = spectrum(-1, 0.2, 0.3 + 0.1 * sin(time * 2.0 + 2.1), 0.08) * 3; "
    "in2.y = spectrum(-1, 0.3, 0.3 + 0.1 * sin(time * 2.0 + 2.8), 0.1) * 3; "
    "in2.z = spectrum(-1, 0.42, 0.3 + 0.1 * sin(time * 2.0 + 3.5), 0.12) * 3; "
    "in3.x = spectrum(-1, 0.56, 0.3 + 0.1 * sin(time * 2.0 + 4.2), 0.14) * 3; "
    "in3.y = spectrum(-1, 0.72, 0.3 + 0.1 * sin(time * 2.0 + 4.9), 0.14) * 3; "
    "in3.z = spectrum(-1, 0.86, 0.3 + 0.1 * sin(time * 2.0 + 5.6), 0.14) * 3";

std::string Fragment(const char* body)
{
	return std::string(kHead) + body;
}

SSceneRecipe Scene(const char* file, const char* desc, const char* tags, const char* body, const char* expression = kSound)
{
    SSceneRecipe recipe;
    recipe.m_file = file;
    recipe.m_desc = desc;
    recipe.m_tags = tags;
    recipe.m_fragment = Fragment(body);
    recipe.m_expression = expression;
    return recipe;
}

// A scene whose motion runs faster with the music: the speed, an expression
// of the sound inputs, is summed over the frames into in3.x, so that a louder
// passage speeds the picture up smoothly instead of jumping it by time times
// the change of speed.
SSceneRecipe Scene(const char* file, const char* desc, const char* tags, const char* body, const char* expression,
                   const char* speed)
{
    SSceneRecipe recipe = Scene(file, desc, tags, body, expression);
    recipe.m_expression += std::string("; perm = perm + deltatime * (") + speed + "); in3.x = perm";
    return recipe;
}

SSceneRecipe Transition(const char* file, const char* desc, const char* body)
{
    SSceneRecipe recipe = Scene(file, desc, "transition", body, "");
    recipe.m_sceneType = 0x8;
    recipe.m_transition = true;
    return recipe;
}

} // namespace

std::vector<SSceneRecipe> SceneRecipes()
{
    std::vector<SSceneRecipe> recipes;

    recipes.push_back(Scene("scenes/Plasma.lmc", "Soft plasma whose colours run faster with the bass and glow on the beat.",
                            "plasma,colour,calm", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float t = in3.x;
	float v = sin(p.x * 3.0 + t) + sin(p.y * 4.0 - t * 1.3) + sin((p.x + p.y) * 2.5 + t * 0.7)
	        + sin(length(p) * 6.0 - t * 2.0);
	float3 c = Palette(v * 0.2 + time * 0.05 + in1.x * 0.2, float3(0.0, 0.33, 0.67));
	return float4(c * (0.55 + in1.x * 0.6), 1.0);
}
)", kSound, "0.35 + in1.y * 0.5"));

    recipes.push_back(Scene("scenes/Tunnel.lmc", "A striped tunnel that rushes forward with the bass and flashes on the beat.",
                            "tunnel,motion", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float r = length(p) + 0.001;
	float a = atan2(p.y, p.x);
	float depth = 0.7 / r + in3.x;
	float stripes = 0.5 + 0.5 * sin(depth * 10.0) * sin(a * 6.0 + time * 0.5);
	float3 c = lerp(float3(0.05, 0.1, 0.35), float3(1.0, 0.45, 0.15), stripes);
	c += in1.x * float3(0.4, 0.3, 0.6) * stripes;
	return float4(c * saturate(r * 1.4), 1.0);
}
)", kSound, "0.6 + in2.y * 1.5"));

    recipes.push_back(Scene("scenes/Kaleidoscope.lmc", "Eight mirrored slices of a turning pattern; the treble sharpens it.",
                            "kaleidoscope,symmetry", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float r = length(p);
	float a = atan2(p.y, p.x) + time * 0.2;
	float slice = 6.2831853 / 8.0;
	a = abs(fmod(a + 31.415926, slice) - slice * 0.5);
	float2 q = float2(cos(a), sin(a)) * r * (2.0 + in1.y);
	float v = sin(q.x * 5.0 + time) * cos(q.y * 7.0 - time * 1.7) + sin(r * 9.0 - time * 2.0);
	float edge = pow(abs(v) * 0.5, 1.0 + in1.z * 3.0);
	float3 c = Palette(r * 0.6 - time * 0.1 + in1.x * 0.3, float3(0.1, 0.5, 0.8)) * (1.0 - edge);
	return float4(c * (0.5 + in1.x * 0.7), 1.0);
}
)"));

    recipes.push_back(Scene("scenes/SpectrumRings.lmc", "Rings for bass, mid and treble that swell with their band.",
                            "rings,spectrum", R"(
float Ring(float r, float radius, float width)
{
	return exp(-pow((r - radius) / width, 2.0));
}

float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float r = length(p);
	float a = atan2(p.y, p.x);
	float wobble = 0.02 * sin(a * 12.0 + time * 3.0);
	float3 c = float3(1.0, 0.3, 0.2) * Ring(r + wobble, 0.25 + in1.y * 0.25, 0.04 + in1.y * 0.03)
	         + float3(0.3, 1.0, 0.4) * Ring(r - wobble, 0.55 + in2.x * 0.2, 0.03)
	         + float3(0.3, 0.5, 1.0) * Ring(r + wobble, 0.8 + in1.z * 0.2, 0.02 + in1.z * 0.02);
	c += float3(0.05, 0.02, 0.1) * (1.0 + in1.x * 3.0) * (1.0 - saturate(r));
	return float4(c, 1.0);
}
)"));

    recipes.push_back(Scene("scenes/Starfield.lmc", "Stars flying past in three layers; the beat pushes them on.",
                            "stars,space,motion", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float3 c = float3(0.0, 0.0, 0.02);
	for (int layer = 0; layer < 3; layer++) {
		float z = frac(in3.x + layer / 3.0);
		float scale = lerp(12.0, 1.0, z);
		float2 q = p * scale + layer * 17.0;
		float2 cell = floor(q);
		float2 f = frac(q) - 0.5;
		float h = Hash(cell);
		float2 offset = float2(Hash(cell + 3.1), Hash(cell + 7.7)) - 0.5;
		float d = length(f - offset * 0.6);
		float star = step(0.75 - in1.y * 0.3, h) * saturate(0.06 * (0.5 + in1.x * 2.0) / max(d, 0.001) - 0.15) * z;
		c += star * lerp(float3(0.6, 0.7, 1.0), float3(1.0, 0.8, 0.6), h);
	}
	// A haze of gas that the bass and the beat light up.
	float haze = 0.5 + 0.5 * sin(p.x * 2.0 + in3.x * 3.0) * sin(p.y * 3.0 - in3.x * 2.0);
	c += float3(0.25, 0.08, 0.4) * haze * (in1.y * 0.8 + in1.x * 0.4);
	return float4(c, 1.0);
}
)", kSound, "0.08 + in2.y * 0.1"));

    recipes.push_back(Scene("scenes/Blob.lmc", "A ray-marched ball that the bass dents and the beat lights up.",
                            "raymarch,3d", R"(
float Shape(float3 q)
{
	float bump = sin(q.x * 6.0 + time) * sin(q.y * 6.0 + time * 1.3) * sin(q.z * 6.0) * (0.05 + in1.y * 0.15);
	return length(q) - 0.8 + bump;
}

float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float3 eye = float3(0.0, 0.0, -2.5);
	float3 dir = normalize(float3(p, 1.6));
	// Marching starts where the ray enters a sphere around the largest dent;
	// rays that miss it are background at once.
	float bound = 0.86 + abs(in1.y) * 0.15;
	float b = dot(eye, dir);
	float gap = b * b - dot(eye, eye) + bound * bound;
	float travelled = gap > 0.0 ? max(-b - sqrt(gap), 0.0) : 7.0;
	float hit = 0.0;
	for (int i = 0; i < 48; i++) {
		if (travelled > 6.0) break;
		float d = Shape(eye + dir * travelled);
		if (d < 0.002) { hit = 1.0; break; }
		travelled += d * 0.8;
	}
	float3 back = float3(0.02, 0.02, 0.05) + 0.08 * in1.x;
	if (hit < 0.5)
		return float4(back, 1.0);
	float3 at = eye + dir * travelled;
	// Four samples on a tetrahedron give the normal, two fewer than six.
	float e = 0.01;
	float2 k = float2(1.0, -1.0);
	float3 n = normalize(k.xyy * Shape(at + k.xyy * e) + k.yyx * Shape(at + k.yyx * e) +
	                     k.yxy * Shape(at + k.yxy * e) + k.xxx * Shape(at + k.xxx * e));
	float light = saturate(dot(n, normalize(float3(0.5, 0.7, -0.6))));
	float3 c = Palette(light * 0.5 + time * 0.03, float3(0.6, 0.4, 0.2)) * (0.25 + light * (0.7 + in1.x));
	return float4(c, 1.0);
}
)"));

    recipes.push_back(Scene("scenes/SpectrumBars.lmc", "Nine bars of the spectrum, bass on the left.", "spectrum,bars",
                            R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float x = pi.tex.x * 9.0;
	int bar = (int)min(floor(x), 8.0);
	float values[9] = { in1.x, in1.y, in1.z, in2.x, in2.y, in2.z, in3.x, in3.y, in3.z };
	float height = saturate(values[bar]) * 0.9 + 0.02;
	float inside = step(pi.tex.y, height) * step(0.08, frac(x)) * step(frac(x), 0.92);
	float3 c = lerp(float3(0.1, 0.8, 0.4), float3(1.0, 0.2, 0.3), pi.tex.y);
	float3 back = float3(0.02, 0.02, 0.04) * (1.0 + pi.tex.y);
	return float4(lerp(back, c, inside), 1.0);
}
)", kSpectrumBars));

    recipes.push_back(Scene("scenes/Cells.lmc", "Living cells that pulse with the beat and drift with the mid.",
                            "voronoi,cells,organic", R"(
// Two hash values and a sine-like swing without trigonometry: nine cells a
// pixel make trigonometry the cost where there is no graphics chip.
float2 Hash2(float2 c)
{
	float3 q = frac(float3(c.x, c.y, c.x) * float3(0.1031, 0.1030, 0.0973));
	q += dot(q, q.yzx + 33.33);
	return frac((q.xx + q.yz) * q.zy);
}

float2 Swing(float2 t)
{
	float2 x = abs(frac(t) * 2.0 - 1.0);
	return x * x * (3.0 - 2.0 * x) * 2.0 - 1.0;
}

float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex) * 3.0;
	float2 cell = floor(p);
	float nearest = 8.0;
	float second = 8.0;
	float id = 0.0;
	float phase = in3.x * 0.15915494;
	for (int y = -1; y <= 1; y++) {
		for (int x = -1; x <= 1; x++) {
			float2 c = cell + float2(x, y);
			float2 h = Hash2(c);
			float2 centre = c + 0.5 + 0.4 * Swing(phase + h);
			float d = length(p - centre);
			if (d < nearest) { second = nearest; nearest = d; id = h.x; }
			else if (d < second) { second = d; }
		}
	}
	float border = smoothstep(0.0, 0.08 + in1.x * 0.1, second - nearest);
	float3 c = Palette(id + time * 0.05, float3(0.2, 0.4, 0.6)) * (0.4 + 0.6 * (1.0 - nearest)) * border;
	return float4(c * (0.6 + in1.x * 0.6), 1.0);
}
)", kSound, "0.5 + in2.x"));

    recipes.push_back(Scene("scenes/Sunburst.lmc", "Rays turning around a warm centre; more rays with the treble.",
                            "rays,sun,colour", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float r = length(p);
	float a = atan2(p.y, p.x);
	float rays = floor(8.0 + in1.z * 16.0);
	float v = 0.5 + 0.5 * sin(a * rays + time * 1.5 + sin(r * 4.0 - time) * 2.0);
	float glow = exp(-r * (2.5 - in1.y * 1.5));
	float3 c = lerp(float3(0.8, 0.2, 0.05), float3(1.0, 0.85, 0.3), v) * (0.3 + glow);
	c += float3(1.0, 0.9, 0.6) * glow * in1.x;
	return float4(c * (1.0 - 0.4 * r), 1.0);
}
)"));

    recipes.push_back(Scene("scenes/Clouds.lmc", "Rolling clouds of layered noise, lit from below on the beat.",
                            "clouds,noise,calm", R"(
float Layered(float2 q)
{
	float v = 0.0;
	float amplitude = 0.5;
	for (int i = 0; i < 5; i++) {
		v += amplitude * (sin(q.x) * sin(q.y) * 0.5 + 0.5);
		q = float2(q.x * 1.7 + q.y * 0.9, q.y * 1.7 - q.x * 0.9) + time * 0.1;
		amplitude *= 0.5;
	}
	return v;
}

float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex) * 2.0;
	float v = Layered(p + float2(time * 0.3, 0.0));
	float3 sky = lerp(float3(0.1, 0.15, 0.35), float3(0.5, 0.6, 0.9), pi.tex.y);
	float3 cloud = lerp(float3(0.9, 0.85, 0.8), float3(1.0, 0.6, 0.4), in1.x * (1.0 - pi.tex.y));
	return float4(lerp(sky, cloud, smoothstep(0.35, 0.75, v + in1.y * 0.2)), 1.0);
}
)"));

    recipes.push_back(Scene("scenes/ColourField.lmc", "Broad fields of colour that shift hue with the bands.",
                            "colour,field,calm", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float2 a = float2(sin(time * 0.3), cos(time * 0.23)) * 0.8;
	float2 b = float2(cos(time * 0.17), sin(time * 0.31)) * 0.8;
	float3 c = Palette(0.1 + in1.y * 0.3, float3(0.0, 0.2, 0.4)) * exp(-length(p - a) * 1.5)
	         + Palette(0.6 + in1.z * 0.3, float3(0.3, 0.1, 0.7)) * exp(-length(p - b) * 1.5)
	         + Palette(time * 0.02 + in2.x, float3(0.5, 0.5, 0.5)) * 0.15;
	return float4(c * (0.7 + in1.x * 0.5), 1.0);
}
)"));

    recipes.push_back(Scene("scenes/Grid.lmc", "A neon floor grid racing to the horizon; the bass raises hills in it.",
                            "grid,retro,motion", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex);
	float horizon = 0.1;
	float3 sky = lerp(float3(0.3, 0.05, 0.3), float3(0.02, 0.0, 0.08), saturate((p.y - horizon) * 1.5));
	if (p.y > horizon) {
		float sun = step(length(p - float2(0.0, 0.45)), 0.3 + in1.x * 0.05) * step(0.5, frac(p.y * 20.0 - time));
		return float4(sky + float3(1.0, 0.5, 0.2) * sun, 1.0);
	}
	float depth = 0.4 / (horizon - p.y + 0.02);
	float2 q = float2(p.x * depth, depth + in3.x);
	q.y += sin(q.x * 0.5 + time) * in1.y * 0.5;
	float2 lines = abs(frac(q) - 0.5);
	float glow = saturate(0.04 * depth / max(min(lines.x, lines.y) * depth, 0.02)) * saturate(3.0 / depth);
	return float4(float3(0.1, 0.0, 0.15) + float3(0.2, 0.8, 1.0) * glow * (0.6 + in1.x), 1.0);
}
)", kSound, "1.0 + in2.y * 2.0"));

    recipes.push_back(Transition("scenes/transitions/Crossfade.lmc",
                                 "The scene that goes fades into the scene that comes.", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 uv = float2(pi.tex.x, 1.0 - pi.tex.y);
	return lerp(tex2D(tex1, uv), tex2D(tex2, uv), smoothstep(0.0, 1.0, time));
}
)"));

    recipes.push_back(Transition("scenes/transitions/Wipe.lmc",
                                 "The scene that comes wipes across from the left behind a soft, wavy edge.", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 uv = float2(pi.tex.x, 1.0 - pi.tex.y);
	float edge = time * 1.3 - 0.15 + 0.05 * sin(pi.tex.y * 20.0);
	float mixing = smoothstep(edge - 0.1, edge + 0.1, pi.tex.x);
	return lerp(tex2D(tex2, uv), tex2D(tex1, uv), mixing);
}
)"));

    recipes.push_back(Transition("scenes/transitions/ZoomDissolve.lmc",
                                 "The scene that goes zooms away and crumbles into the scene that comes.", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 uv = float2(pi.tex.x, 1.0 - pi.tex.y);
	float2 zoomed = (uv - 0.5) / (1.0 + time * 1.5) + 0.5;
	float grain = Hash(floor(uv * 80.0));
	float gone = step(grain, time * 1.2 - 0.1);
	return lerp(tex2D(tex1, zoomed), tex2D(tex2, uv), gone);
}
)"));

    SSceneRecipe post = Scene("scenes/post/Vignette.lmc",
                              "Postprocessing: the layers below with split colours and a dark edge that breathes with the beat.",
                              "postprocessing", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 uv = float2(pi.tex.x, 1.0 - pi.tex.y);
	float2 shift = (uv - 0.5) * (0.004 + in1.x * 0.012);
	float3 c = float3(tex2D(tex1, uv + shift).r, tex2D(tex1, uv).g, tex2D(tex1, uv - shift).b);
	float edge = 1.0 - dot(uv - 0.5, uv - 0.5) * (1.6 - in1.x * 0.6);
	return float4(c * saturate(edge), 1.0);
}
)");
    post.m_sceneType = 0x4;
    post.m_postprocessing = true;
    recipes.push_back(post);

    SSceneRecipe front = Scene("scenes/layers/Sparks.lmc",
                               "Foreground: sparks rising over whatever is behind them, more with the treble, "
                               "and embers glowing up from below with the bass.",
                               "foreground,sparks", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = ScreenPoint(pi.tex) * float2(6.0, 3.0);
	float2 cell = float2(floor(p.x), 0.0);
	float speed = 0.3 + Hash(cell) * 0.7;
	float y = frac(Hash(cell + 2.3) - time * speed * 0.3) * 6.0 - 3.0;
	float d = length(float2(frac(p.x) - 0.5, (p.y - y) * 0.3));
	float spark = saturate(0.05 * (1.0 + in1.x * 2.0) / max(d, 0.001) - 0.2)
	            * step(0.7 - in1.z * 1.5 - in1.y * 0.5, Hash(cell + 9.1));
	float3 c = float3(1.0, 0.6, 0.2) * spark * (0.6 + in1.x * 1.5);
	// Embers glowing up from the bottom with the bass.
	float embers = saturate(in1.y * 1.5 + in1.x * 0.5) * pow(saturate(1.0 - pi.tex.y * 1.6), 2.0)
	             * (0.7 + 0.3 * sin(p.x * 3.0 + in3.x * 4.0));
	c += float3(0.9, 0.35, 0.05) * embers;
	return float4(c, saturate(spark + embers));
}
)", kSound, "0.5 + in1.y");
    front.m_sceneType = 0x2;
    front.m_blended = true;
    recipes.push_back(front);

    // Example scenes for the editor and for transitions when no layers play.
    SSceneRecipe background = Scene("scenes/special/PostprocessingBackground.lmc",
                                    "A calm test picture under postprocessing scenes in the editor.", "special", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float2 grid = step(0.95, frac(pi.tex * 8.0));
	float3 c = lerp(float3(0.2, 0.3, 0.6), float3(0.8, 0.5, 0.3), pi.tex.x) + max(grid.x, grid.y) * 0.3;
	return float4(c, 1.0);
}
)", "");
    background.m_sceneType = 0x900;
    recipes.push_back(background);
    SSceneRecipe from = Scene("scenes/special/TransitionFromExample.lmc",
                              "The scene a transition leaves, in the editor.", "special", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float v = step(0.5, frac((pi.tex.x + pi.tex.y) * 6.0 + time * 0.2));
	return float4(lerp(float3(0.9, 0.3, 0.2), float3(0.5, 0.1, 0.1), v), 1.0);
}
)", "");
    from.m_sceneType = 0x900;
    recipes.push_back(from);
    SSceneRecipe to = Scene("scenes/special/TransitionToExample.lmc", "The scene a transition brings, in the editor.",
                            "special", R"(
float4 PS_Program(PSInput pi) : COLOR
{
	float v = step(0.5, frac(length(pi.tex - 0.5) * 8.0 - time * 0.2));
	return float4(lerp(float3(0.2, 0.5, 0.9), float3(0.1, 0.2, 0.5), v), 1.0);
}
)", "");
    to.m_sceneType = 0x900;
    recipes.push_back(to);
    return recipes;
}
