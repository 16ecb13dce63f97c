// Makes elements in one expression.

type Child = Node | string;
type Properties = Record<string, string | number | boolean | ((event: Event) => void)>;

/** An element with attributes, listeners (functions, by the event's name) and children. */
export function element<Name extends keyof HTMLElementTagNameMap>(
  name: Name,
  properties: Properties = {},
  ...children: Child[]
): HTMLElementTagNameMap[Name] {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (typeof value === 'function') made.addEventListener(key, value);
    else if (typeof value === 'boolean') made.toggleAttribute(key, value);
    else made.setAttribute(key, String(value));
  }
  made.append(...children);
  return made;
}

/** The page's element with that id, which is of that class. */
export function byId<Type extends HTMLElement>(id: string, type: new () => Type): Type {
  const found = document.getElementById(id);
  if (!(found instanceof type)) throw new Error(`the page has no ${type.name} #${id}`);
  return found;
}

/** What the style sheet says of a colour. */
export function color(name: string): string {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}
