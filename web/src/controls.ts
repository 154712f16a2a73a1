// The panel: one control for each entry of the parameter table.

import { make, setPressed } from "./dom.js";
import type { Parameter } from "./engine.js";

export interface ControlEvents {
  /** The user chose a value. dragging: more values of the same gesture may follow. */
  change(index: number, value: number, dragging: boolean): void;
  /** The user pressed a control's diamond. */
  toggleKey(index: number): void;
}

interface Control {
  root: HTMLElement;
  show(value: number): void;
  diamond: HTMLButtonElement | undefined;
}

function rangeOf({ minimum, maximum, unit }: Parameter): string {
  return (maximum > 1e9 ? `${minimum} ${unit} and up` : `${minimum} to ${maximum} ${unit}`).trim();
}

function numberInputs(parameter: Parameter, index: number, events: ControlEvents) {
  const step = 10 ** -parameter.decimals;
  const slider = make("input", { type: "range" });
  slider.min = String(parameter.sliderMinimum);
  slider.max = String(parameter.sliderMaximum);
  const field = make("input", { type: "number", title: rangeOf(parameter) });
  field.min = String(parameter.minimum);
  field.max = String(parameter.maximum);
  slider.step = field.step = String(step);
  slider.setAttribute("aria-label", parameter.name);
  field.setAttribute("aria-label", `${parameter.name}, number`);
  slider.addEventListener("input", () => events.change(index, Number(slider.value), true));
  slider.addEventListener("change", () => events.change(index, Number(slider.value), false));
  slider.addEventListener("dblclick", () => events.change(index, parameter.defaultValue, false));
  let shown = parameter.defaultValue;
  field.addEventListener("change", () => {
    const typed = field.valueAsNumber;
    const value = Number.isNaN(typed) ? shown : Math.min(Math.max(typed, parameter.minimum), parameter.maximum);
    field.value = String(value);
    events.change(index, value, false);
  });
  const show = (value: number) => {
    shown = value;
    slider.value = String(value);
    // While the user types, the text is theirs.
    if (document.activeElement !== field) field.value = String(Number(value.toFixed(parameter.decimals + 3)));
  };
  return { slider, field, show };
}

function choiceButtons(parameter: Parameter, index: number, events: ControlEvents) {
  const group = make("div", { className: "choices", role: "radiogroup", ariaLabel: parameter.name });
  const buttons = parameter.choices.map((text, i) => {
    const button = make("button", { type: "button", textContent: text, role: "radio" });
    button.addEventListener("click", () => events.change(index, i + 1, false));
    return button;
  });
  group.append(...buttons);
  group.addEventListener("keydown", (event) => {
    const by = { ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 }[event.key];
    const now = buttons.findIndex((button) => button === document.activeElement);
    if (by === undefined || now < 0) return;
    event.preventDefault();
    event.stopPropagation();
    const next = (now + by + buttons.length) % buttons.length;
    buttons[next]!.focus();
    events.change(index, next + 1, false);
  });
  const show = (value: number) =>
    buttons.forEach((button, i) => {
      button.setAttribute("aria-checked", String(i + 1 === value));
      button.tabIndex = i + 1 === value ? 0 : -1;
    });
  return { group, show };
}

export class Controls {
  private readonly controls: Control[];

  constructor(
    parent: HTMLElement,
    private readonly parameters: Parameter[],
    events: ControlEvents,
  ) {
    this.controls = parameters.map((parameter, index) => this.control(parameter, index, events));
    parent.replaceChildren(...this.controls.map((control) => control.root));
  }

  /** Shows the values of a time. hasKeys, atKey: by parameter, whether it has keys, and one at this time. */
  show(values: ArrayLike<number>, hasKeys: boolean[], atKey: boolean[]): void {
    this.controls.forEach((control, i) => {
      control.show(values[i]!);
      const { diamond } = control;
      if (!diamond) return;
      diamond.textContent = atKey[i] ? "◆" : "◇";
      setPressed(diamond, atKey[i]!);
      diamond.title = atKey[i] ? "Delete the key at this time" : hasKeys[i] ? "Add a key at this time" : "Change over time: add a key";
    });
    // "Time" counts where "Time Control" is "Manual" only.
    const control = this.parameters.findIndex((parameter) => parameter.key === "time_control");
    const time = this.parameters.findIndex((parameter) => parameter.key === "time");
    if (control >= 0 && time >= 0) this.controls[time]!.root.hidden = values[control] === 1;
  }

  private control(parameter: Parameter, index: number, events: ControlEvents): Control {
    const help = make("p", { className: "help", textContent: parameter.help, id: `help-${parameter.key}` });
    const name = make("span", { className: "name", textContent: parameter.name, title: parameter.help });
    let diamond: HTMLButtonElement | undefined;
    if (!parameter.constant) {
      diamond = make("button", { type: "button", className: "diamond", ariaLabel: `Key of ${parameter.name}` });
      diamond.addEventListener("click", () => events.toggleKey(index));
    }
    const last = diamond ?? make("span");
    const root = make("div", { className: "control" });
    root.dataset.key = parameter.key;
    if (parameter.choices.length > 0) {
      const { group, show } = choiceButtons(parameter, index, events);
      group.setAttribute("aria-describedby", help.id);
      root.append(name, group, last, help);
      return { root, show, diamond };
    }
    const { slider, field, show } = numberInputs(parameter, index, events);
    slider.setAttribute("aria-describedby", help.id);
    name.addEventListener("dblclick", () => events.change(index, parameter.defaultValue, false));
    const value = make("span", { className: "value" }, field, make("span", { className: "unit", textContent: parameter.unit }));
    root.append(name, value, last, slider, help);
    return { root, show, diamond };
  }
}
