// Short forms for elements.

/** Returns the element with an id. Throws where the page has none of this type. */
export function element<Type extends HTMLElement>(id: string, type: new () => Type): Type {
  const found = document.getElementById(id);
  if (!(found instanceof type)) throw new Error(`the page has no '${id}'`);
  return found;
}

/** Makes an element with properties and children. */
export function make<Name extends keyof HTMLElementTagNameMap>(
  name: Name,
  properties: Partial<HTMLElementTagNameMap[Name]> = {},
  ...children: (Node | string)[]
): HTMLElementTagNameMap[Name] {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

/** Calls act when a button is pressed. */
export function onPress(id: string, act: () => void): HTMLButtonElement {
  const button = element(id, HTMLButtonElement);
  button.addEventListener("click", act);
  return button;
}

export function setPressed(button: HTMLElement, pressed: boolean): void {
  button.setAttribute("aria-pressed", String(pressed));
}

/** Lets the user save a file. */
export function download(file: Blob, name: string): void {
  const address = URL.createObjectURL(file);
  make("a", { href: address, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(address), 60_000);
}
