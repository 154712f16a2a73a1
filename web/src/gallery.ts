// The presets as small live pictures.

import { element, make, setPressed } from "./dom.js";
import type { BuiltInPreset } from "./engine.js";

export class Gallery {
  private readonly buttons: { button: HTMLButtonElement; canvas: HTMLCanvasElement }[];

  constructor(presets: BuiltInPreset[], choose: (preset: BuiltInPreset) => void) {
    this.buttons = presets.map((preset) => {
      const canvas = make("canvas", { width: 160, height: 90, ariaHidden: "true" });
      const button = make("button", { type: "button", title: preset.description }, canvas, make("span", { textContent: preset.name }));
      button.dataset.preset = preset.id;
      button.addEventListener("click", () => choose(preset));
      return { button, canvas };
    });
    element("gallery", HTMLElement).replaceChildren(...this.buttons.map(({ button }) => button));
  }

  /** Shows the presets' pictures, in the order of the presets. */
  showPictures(pictures: ImageData[]): void {
    pictures.forEach((picture, i) => {
      const { canvas } = this.buttons[i]!;
      if (canvas.width !== picture.width || canvas.height !== picture.height) {
        Object.assign(canvas, { width: picture.width, height: picture.height });
      }
      canvas.getContext("2d")!.putImageData(picture, 0, 0);
    });
  }

  /** Marks the preset with an id. */
  mark(id: string | undefined): void {
    for (const { button } of this.buttons) setPressed(button, button.dataset.preset === id);
  }

  /** Returns whether any of the gallery is on the screen. */
  get isVisible(): boolean {
    const box = element("gallery", HTMLElement).getBoundingClientRect();
    return box.bottom > 0 && box.top < innerHeight;
  }
}
