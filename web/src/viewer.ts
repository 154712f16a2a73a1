// The stage: output over source, the divider between them, zoom.

import { element, onPress, setPressed } from "./dom.js";

const largestZoom = 32;

export class Viewer {
  readonly stage = element("stage", HTMLElement);
  private readonly frame = element("frame", HTMLElement);
  private readonly after = element("after", HTMLCanvasElement);
  private readonly plot = element("plot", HTMLCanvasElement);
  private readonly divider = element("divider", HTMLElement);
  private readonly compareButton: HTMLButtonElement;
  private readonly fitButton: HTMLButtonElement;
  private readonly actualButton: HTMLButtonElement;
  private size = { width: 16, height: 9 };
  // Screen pixels a picture's pixel; undefined fits the picture into the stage.
  private zoom: number | undefined;
  private split = 50;

  /** redraw: called when the source has to be drawn too. moved: called when the picture has another place or size. */
  constructor(
    redraw: () => void,
    private readonly moved: () => void,
  ) {
    this.compareButton = onPress("compare", () => {
      this.isCompared = !this.isCompared;
      redraw();
    });
    this.fitButton = onPress("fit", () => this.setZoom(undefined));
    this.actualButton = onPress("actual", () => this.setZoom(1));
    onPress("zoom-in", () => this.zoomBy(2));
    onPress("zoom-out", () => this.zoomBy(0.5));
    this.divider.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10, Home: -100, End: 100 }[event.key];
      if (by === undefined) return;
      event.preventDefault();
      event.stopPropagation();
      this.moveDivider(this.split + by);
    });
    this.divider.addEventListener("pointerdown", (event) => {
      this.divider.setPointerCapture(event.pointerId);
      const follow = (now: PointerEvent) => {
        const box = this.frame.getBoundingClientRect();
        this.moveDivider(((now.clientX - box.left) / box.width) * 100);
      };
      this.divider.addEventListener("pointermove", follow);
      this.divider.addEventListener("lostpointercapture", () => this.divider.removeEventListener("pointermove", follow), { once: true });
    });
    new ResizeObserver(() => this.layOut()).observe(this.stage);
    this.moveDivider(50);
  }

  get isCompared(): boolean {
    return !this.divider.hidden;
  }
  set isCompared(compared: boolean) {
    this.divider.hidden = !compared;
    this.frame.classList.toggle("compared", compared);
    setPressed(this.compareButton, compared);
    this.moveDivider(this.split);
  }

  /** Sets the picture's size at full resolution. */
  setSize(width: number, height: number): void {
    this.size = { width, height };
    this.layOut();
  }

  zoomBy(factor: number): void {
    const now = this.zoom ?? this.fittingZoom();
    this.setZoom(Math.min(Math.max(now * factor, 1 / largestZoom), largestZoom));
  }

  setZoom(zoom: number | undefined): void {
    this.zoom = zoom;
    setPressed(this.fitButton, zoom === undefined);
    setPressed(this.actualButton, zoom === 1);
    this.layOut();
  }

  private moveDivider(percent: number): void {
    this.split = Math.min(Math.max(percent, 0), 100);
    this.divider.style.left = `${this.split}%`;
    this.divider.setAttribute("aria-valuenow", String(Math.round(this.split)));
    this.after.style.clipPath = this.isCompared ? `inset(0 0 0 ${this.split}%)` : "";
  }

  private fittingZoom(): number {
    const { clientWidth, clientHeight } = this.stage;
    const plot = this.plot.offsetWidth + parseFloat(getComputedStyle(this.stage).columnGap);
    return Math.min((clientWidth - plot) / this.size.width, clientHeight / this.size.height) * devicePixelRatio;
  }

  private layOut(): void {
    const zoom = (this.zoom ?? this.fittingZoom()) / devicePixelRatio;
    this.frame.style.width = `${this.size.width * zoom}px`;
    this.frame.style.height = `${this.size.height * zoom}px`;
    this.frame.classList.toggle("pixels", zoom * devicePixelRatio > 1);
    this.moved();
  }
}
