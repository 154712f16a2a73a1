// The row profiles, drawn beside the picture.

import { element } from "./dom.js";

// Largest magnitude of scan, bars and signal; see lomix_frame_get_profile().
const curves = [
  { name: "scan", from: 0, to: 0.3, dark: "#ffb454", light: "#8a4b00" },
  { name: "bars", from: 0, to: 1, dark: "#86b7ff", light: "#0b57b7" },
  { name: "signal", from: -1, to: 1, dark: "#9be39b", light: "#1d6b1d" },
];

/** Draws the three profiles of a frame's rows, the top row first, each row at the height where the picture has it. */
export function drawPlot(profiles: Float32Array): void {
  const canvas = element("plot", HTMLCanvasElement);
  const width = Math.round(canvas.clientWidth * devicePixelRatio);
  const height = Math.round(canvas.clientHeight * devicePixelRatio);
  if (width === 0 || height === 0) return;
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
  const context = canvas.getContext("2d")!;
  const dark = matchMedia("(prefers-color-scheme: dark)").matches;
  const picture = element("frame", HTMLElement).getBoundingClientRect();
  const top = (picture.top - canvas.getBoundingClientRect().top) * devicePixelRatio;
  const rows = profiles.length / curves.length;
  const rowHeight = (picture.height * devicePixelRatio) / rows;
  const lane = width / curves.length;
  context.clearRect(0, 0, width, height);
  const letters = Math.min(parseFloat(getComputedStyle(document.documentElement).fontSize) * 0.75 * devicePixelRatio, lane / 3.4);
  context.font = `${letters}px system-ui, sans-serif`;
  curves.forEach(({ name, from, to, ...colours }, i) => {
    context.strokeStyle = context.fillStyle = dark ? colours.dark : colours.light;
    context.lineWidth = devicePixelRatio;
    context.beginPath();
    for (let row = 0; row < rows; ++row) {
      const value = (profiles[i * rows + row]! - from) / (to - from);
      context.lineTo((i + 0.05 + 0.9 * value) * lane, top + (row + 0.5) * rowHeight);
    }
    context.stroke();
    context.fillText(name, (i + 0.08) * lane, 1.3 * letters);
  });
}
